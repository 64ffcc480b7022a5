// SPDX-License-Identifier: GPL-2.0
/*
 * Exports a capture as comma-separated values.
 */
#include "export/csv_sink.h"

#include <array>
#include <cerrno>
#include <deque>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>

#include "base/errors.h"
#include "export/csv_families.h"
#include "records/channels.h"
#include "text/text.h"
#include "text/timestamp.h"

namespace zemctl {

namespace {

std::string in_folder(const std::string &folder, std::string_view file)
{
	return fmt::format("{}/{}.csv", folder, file);
}

class CsvSink : public ExportSink {
public:
	explicit CsvSink(const std::string &folder);

	void record(const Record &record) override;
	void mark(const Mark &mark) override;
	void loss(const Loss &loss) override;
	void finish(StreamEnd end, std::uint64_t records) override;

private:
	std::string_view time_text(std::uint64_t time);
	void put_other(CsvTable &table, const CsvPrefix &prefix, const Record &record);
	void put_clock(CsvTable &table, const ClockReading &clock);
	void put_loss(CsvTable &table, std::uint64_t time, std::string_view kind, const Gap &gap,
		      std::optional<std::uint64_t> skipped_bytes, std::string_view description);

	Calendar calendar_{Calendar::Zone::kUtc, 'T'};
	std::string time_;
	std::uint64_t records_ = 0;
	std::uint64_t last_time_ = 0;
	std::deque<CsvTable> families_; /* in the order of csv_families() */
	CsvTable other_;
	CsvTable loss_;
	CsvTable clock_;
};

/* The values behind a heading are not written. All ranks of a list of ones are filled. */
CsvSink::CsvSink(const std::string &folder)
	: other_(in_folder(folder, "other")), loss_(in_folder(folder, "loss")),
	  clock_(in_folder(folder, "clock"))
{
	const zem_record_header header = {};
	const CsvPrefix prefix = {0, header, ""};
	for (const CsvFamily &family : csv_families()) {
		const std::vector<std::byte> ones(family.size, std::byte{1});
		families_.emplace_back(in_folder(folder, family.file));
		families_.back().write_heading(
			[&](CsvTable &table) { family.rows(table, prefix, ones); });
	}
	const std::array<std::byte, ZEM_HEADER_SIZE> bytes = {};
	other_.write_heading(
		[&](CsvTable &table) { put_other(table, prefix, Record{header, bytes}); });
	loss_.write_heading([this](CsvTable &table) { put_loss(table, 0, "", {}, {}, ""); });
	clock_.write_heading([this](CsvTable &table) { put_clock(table, {}); });
}

std::string_view CsvSink::time_text(std::uint64_t time)
{
	time_.clear();
	fmt::format_to(std::back_inserter(time_), "{}.{:09}Z", calendar_.format(time),
		       time % kSecondNs);
	return time_;
}

void CsvSink::record(const Record &record)
{
	last_time_ = record.header.timestamp;
	const CsvPrefix prefix = {++records_, record.header, time_text(last_time_)};
	bool is_decoded = false;
	std::size_t index = 0;
	for (const CsvFamily &family : csv_families()) {
		CsvTable &table = families_[index++];
		if (family.channel != record.header.channel ||
		    family.size != record.payload().size())
			continue;
		family.rows(table, prefix, record.payload());
		is_decoded = true;
	}
	if (!is_decoded)
		put_other(other_, prefix, record);
}

void CsvSink::put_other(CsvTable &table, const CsvPrefix &prefix, const Record &record)
{
	const Bytes payload = record.payload();
	const bool is_plain = is_text(payload);
	const std::string_view text(reinterpret_cast<const char *>(payload.data()), payload.size());
	put_prefix(table, prefix).text("channel", channel_name(record.header.channel));
	table.number("payload_bytes", record.header.len);
	table.text("payload_text", is_plain ? text : std::string_view());
	table.hex("payload_hex", is_plain ? Bytes() : payload).end_row();
}

void CsvSink::mark(const Mark &mark)
{
	if (mark.kind == MarkKind::kClock)
		put_clock(clock_, mark.as<ClockReading>());
}

void CsvSink::put_clock(CsvTable &table, const ClockReading &clock)
{
	table.number("records_before", records_).number("time_ns", clock.realtime);
	table.text("time", time_text(clock.realtime)).number("monotonic_ns", clock.monotonic);
	table.number("boottime_ns", clock.boottime).number("utc_offset_s", clock.utc_offset);
	table.number("uncertainty_ns", clock.uncertainty).end_row();
}

void CsvSink::loss(const Loss &loss)
{
	put_loss(loss_, loss.time, loss.skipped_bytes ? "damage" : "gap", loss.gap,
		 loss.skipped_bytes, loss.description);
}

/* A number that is not known is an empty cell. */
void CsvSink::put_loss(CsvTable &table, std::uint64_t time, std::string_view kind, const Gap &gap,
		       std::optional<std::uint64_t> skipped_bytes, std::string_view description)
{
	table.number("records_before", records_).number("time_ns", time);
	table.text("time", time_text(time)).text("kind", kind);
	table.count("lost_bytes", gap.lost_bytes.value_or(UINT64_MAX));
	table.count("lost_records", gap.lost_records.value_or(UINT64_MAX));
	table.count("skipped_bytes", skipped_bytes.value_or(UINT64_MAX));
	table.name("description", description).end_row();
}

/* The end is a row, too: without it, the export itself was interrupted. */
void CsvSink::finish(StreamEnd end, std::uint64_t records)
{
	put_loss(loss_, last_time_, "end", {}, {},
		 fmt::format("{}, {} records", name_of(end), records));
	for (CsvTable &table : families_)
		table.flush();
	other_.flush();
	loss_.flush();
	clock_.flush();
}

} // namespace

std::unique_ptr<ExportSink> make_csv_sink(const std::string &folder)
{
	constexpr mode_t kMode = 0777;
	if (::mkdir(folder.c_str(), kMode) != 0 && errno != EEXIST)
		throw system_failure(folder, errno);
	return std::make_unique<CsvSink>(folder);
}

} // namespace zemctl
