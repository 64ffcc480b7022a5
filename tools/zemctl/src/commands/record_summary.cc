// SPDX-License-Identifier: GPL-2.0
/*
 * Sums up a stream of records.
 */
#include "commands/record_summary.h"

#include <iterator>

#include <fmt/format.h>

#include "records/channels.h"
#include "text/schema.h"
#include "text/timestamp.h"

namespace zemctl {

namespace {

std::string_view text_of(StreamEnd end)
{
	switch (end) {
	case StreamEnd::kFinished:
		return "the capture is complete";
	case StreamEnd::kUnfinished:
		return "the capture was not finished, its end may be missing";
	case StreamEnd::kCutOff:
		return "the capture is cut off";
	case StreamEnd::kLimit:
		return "more records may follow";
	case StreamEnd::kStopped:
		break;
	}
	return "stopped";
}

std::string time_text(std::uint64_t nanoseconds, Calendar::Zone zone)
{
	Calendar calendar(zone);
	return fmt::format("{}.{:06}{}", calendar.format(nanoseconds),
			   nanoseconds % kSecondNs / 1000,
			   offset_text(calendar.offset(nanoseconds)));
}

/* Returns the rate of @count, which is infinite if no time passed. */
double per_second(std::uint64_t count, double seconds)
{
	return static_cast<double>(count) / seconds;
}

std::string rate_text(std::uint64_t count, double seconds)
{
	return seconds > 0 ? fmt::format("{:.1f}", per_second(count, seconds)) : "-";
}

} // namespace

void RecordSummary::count(const Record &record)
{
	for (Sum *sum : {&all_, &channels_[record.header.channel]}) {
		sum->records++;
		sum->bytes += record.whole.size();
	}
	/* Records of different CPUs need not be in the order of their times. */
	first_time_ = std::min(first_time_, std::uint64_t{record.header.timestamp});
	last_time_ = std::max(last_time_, std::uint64_t{record.header.timestamp});
}

void RecordSummary::count(const Gap &gap)
{
	gaps_++;
	lost_bytes_ += gap.lost_bytes.value_or(0);
	lost_records_ += gap.lost_records.value_or(0);
	if (!gap.lost_bytes && !gap.lost_records)
		unknown_gaps_++;
}

double RecordSummary::seconds() const
{
	if (all_.records == 0)
		return 0;
	return static_cast<double>(last_time_ - first_time_) / static_cast<double>(kSecondNs);
}

std::string RecordSummary::rows() const
{
	std::string text = fmt::format("{:<11}  {:>10}  {:>14}  {:>12}  {:>14}\n", "CHANNEL",
				       "RECORDS", "BYTES", "RECORDS/s", "BYTES/s");
	for (std::size_t id = 0; id < channels_.size(); id++) {
		const Sum &sum = channels_[id];
		if (sum.records > 0)
			fmt::format_to(std::back_inserter(text),
				       "{:<11}  {:>10}  {:>14}  {:>12}  {:>14}\n",
				       channel_name(static_cast<std::uint8_t>(id)), sum.records,
				       sum.bytes, rate_text(sum.records, seconds()),
				       rate_text(sum.bytes, seconds()));
	}
	return text;
}

std::string RecordSummary::losses() const
{
	if (gaps_ == 0)
		return "no gaps\n";
	return fmt::format("{} gaps: {} bytes and {} records lost, {} gaps of unknown size\n",
			   gaps_, lost_bytes_, lost_records_, unknown_gaps_);
}

std::string RecordSummary::text(StreamEnd end, Calendar::Zone zone) const
{
	std::string text = fmt::format("{} records, {} bytes in {:.3f} s\n", all_.records,
				       all_.bytes, seconds());
	if (all_.records > 0)
		text += fmt::format("{} to {}\n", time_text(first_time_, zone),
				    time_text(last_time_, zone));
	return text + rows() + losses() + std::string(text_of(end)) + '\n';
}

void RecordSummary::rates_json(const Sum &sum, JsonWriter &json) const
{
	json.count("records", sum.records);
	json.count("bytes", sum.bytes);
	json.rate("records_per_second", per_second(sum.records, seconds()));
	json.rate("bytes_per_second", per_second(sum.bytes, seconds()));
}

std::string RecordSummary::json(StreamEnd end) const
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.summary");
	rates_json(all_, json);
	for (const auto &[name, time] :
	     {std::pair<std::string_view, std::uint64_t>{"first_time_ns", first_time_},
	      {"last_time_ns", last_time_}}) {
		json.key(name);
		if (all_.records > 0)
			json.decimal(time);
		else
			json.null();
	}
	json.count("span_ns", all_.records > 0 ? last_time_ - first_time_ : 0);
	json.count("gaps", gaps_);
	json.count("unknown_gaps", unknown_gaps_);
	json.count("lost_bytes", lost_bytes_);
	json.count("lost_records", lost_records_);
	json.text("reason", name_of(end));
	json.begin_array("channels");
	for (std::size_t id = 0; id < channels_.size(); id++) {
		if (channels_[id].records == 0)
			continue;
		json.begin_object();
		json.text("channel", channel_name(static_cast<std::uint8_t>(id)));
		json.number("channel_id", static_cast<std::uint8_t>(id));
		rates_json(channels_[id], json);
		json.end_object();
	}
	json.end_array();
	json.end_object();
	return std::string(json.take_line());
}

} // namespace zemctl
