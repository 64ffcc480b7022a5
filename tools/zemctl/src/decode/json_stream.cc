// SPDX-License-Identifier: GPL-2.0
/*
 * Writes the objects of a stream of records.
 */
#include "decode/json_stream.h"

#include <array>

#include "decode/decoder.h"
#include "decode/histogram.h"
#include "decode/io.h"
#include "decode/svp.h"
#include "records/channels.h"
#include "text/schema.h"

namespace zemctl {

namespace {

/* Returns ".123456789Z" of a time. */
std::array<char, 11> fraction_of(std::uint64_t nanoseconds)
{
	std::array<char, 11> text = {'.'};
	std::uint64_t rest = nanoseconds % kSecondNs;
	for (std::size_t digit = 9; digit > 0; digit--) {
		text[digit] = static_cast<char>('0' + rest % 10);
		rest /= 10;
	}
	text[10] = 'Z';
	return text;
}

} // namespace

std::string_view name_of(StreamEnd end)
{
	switch (end) {
	case StreamEnd::kFinished:
		return "finished";
	case StreamEnd::kUnfinished:
		return "unfinished";
	case StreamEnd::kCutOff:
		return "cut_off";
	case StreamEnd::kLimit:
		return "limit";
	case StreamEnd::kStopped:
		break;
	}
	return "stopped";
}

std::string_view JsonStream::header(StreamSource source)
{
	json_.begin_object();
	json_.text("type", "header");
	schema_json(json_, "zemctl.records");
	json_.text("source", source == StreamSource::kDevice ? "device" : "capture");
	json_.number("capacity_full", ZEM_CAPACITY_FULL);
	sched_bounds_json(json_);
	svp_bounds_json(json_);
	io_bounds_json(json_);
	json_.end_object();
	return json_.take_line();
}

std::string_view JsonStream::record(const Record &record)
{
	const zem_record_header &header = record.header;
	const std::array<char, 11> fraction = fraction_of(header.timestamp);
	json_.begin_object();
	json_.text("type", "record");
	json_.decimal("time_ns", header.timestamp);
	json_.plain_text("time", calendar_.format(header.timestamp),
			 {fraction.data(), fraction.size()});
	json_.plain_text("channel", channel_name(header.channel));
	json_.number("channel_id", header.channel);
	json_.number("sub_type", header.sub_type);
	json_.number("train_number", header.train_number);
	json_.number("payload_bytes", header.len);
	payload(record);
	json_.end_object();
	return json_.take_line();
}

void JsonStream::payload(const Record &record)
{
	const Bytes payload = record.payload();
	const Decoder *decoder = find_decoder(record.header.channel);
	const bool fits = decoder != nullptr && decoder->size == payload.size();
	const bool decoded = fits && decoder->json != nullptr;
	if (decoded) {
		json_.begin_object("decoded");
		decoder->json(payload, json_);
		json_.end_object();
	}
	if (decoder != nullptr && !fits)
		json_.text("decode_error", unusual_size(*decoder));
	if (hex_ == PayloadHex::kAll || (!decoded && !is_text(payload)))
		json_.hex("payload_hex", payload);
	else if (!decoded)
		json_.text("payload_text",
			   {reinterpret_cast<const char *>(payload.data()), payload.size()});
}

std::string_view JsonStream::gap(const Gap &gap)
{
	json_.begin_object();
	json_.text("type", "gap");
	json_.count("lost_bytes", gap.lost_bytes);
	json_.count("lost_records", gap.lost_records);
	json_.end_object();
	return json_.take_line();
}

std::string_view JsonStream::end(StreamEnd reason, std::uint64_t records)
{
	json_.begin_object();
	json_.text("type", "end");
	json_.text("reason", name_of(reason));
	json_.count("records", records);
	json_.end_object();
	return json_.take_line();
}

std::string format_json(const Record &record)
{
	return std::string(JsonStream(PayloadHex::kOthers).record(record));
}

} // namespace zemctl
