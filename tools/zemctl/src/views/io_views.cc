// SPDX-License-Identifier: GPL-2.0
/*
 * Parses the views of the IO indicators below /sys/kioind.
 */
#include "views/io_views.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/errors.h"
#include "views/columns.h"
#include "views/scanner.h"
#include "views/view_file.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kDiskColumns = 11;
constexpr std::size_t kTopColumns = 18;
constexpr std::size_t kIowaitColumns = 3;
/* The size of the kernel's buffer for a view, which ends with a zero byte. */
constexpr std::size_t kPageSize = 4096;
constexpr const char *kRanksMissing = "ranks are missing";

using DiskMember = __u64 zem_io_disk::*;
constexpr std::array<DiskMember, kDiskColumns> kDiskMembers = {
	&zem_io_disk::rd_ios,	  &zem_io_disk::rd_merges,     &zem_io_disk::rd_sectors,
	&zem_io_disk::rd_ticks,	  &zem_io_disk::wr_ios,	       &zem_io_disk::wr_merges,
	&zem_io_disk::wr_sectors, &zem_io_disk::wr_ticks,      &zem_io_disk::in_flight,
	&zem_io_disk::io_ticks,	  &zem_io_disk::time_in_queue,
};

/* The columns after the UID and the total: first the deltas, then the values, in this order. */
using ColumnMember = __u64 zem_io_columns::*;
constexpr std::array<ColumnMember, 8> kColumnMembers = {
	&zem_io_columns::frb, &zem_io_columns::fwb, &zem_io_columns::brb, &zem_io_columns::bwb,
	&zem_io_columns::fbc, &zem_io_columns::bbc, &zem_io_columns::swc, &zem_io_columns::awc,
};
static_assert(2 + 2 * kColumnMembers.size() == kTopColumns);

template <std::size_t columns>
constexpr std::array<std::size_t, columns> widths(std::size_t first, std::size_t other)
{
	std::array<std::size_t, columns> result;
	result.fill(other);
	result[0] = first;
	return result;
}

constexpr auto kDiskWidths = widths<kDiskColumns>(13, 13);
constexpr auto kTopWidths = widths<kTopColumns>(8, 16);
constexpr auto kIowaitWidths = widths<kIowaitColumns>(8, 16);

/* Returns the rest of the line that starts with @title. Leaves the lines after it in @text. */
std::string_view take_titled_line(std::string_view &text, std::string_view title)
{
	while (!text.empty()) {
		const std::string_view line = take_line(text);
		if (line.starts_with(title))
			return line.substr(title.size());
	}
	throw Failure(fmt::format("\"{}\" is missing", title));
}

/* Parses "/dev/block/sda(8,0,00000000a1b2c3d4)". The address may be "(____ptrval____)". */
IoDeviceName parse_device_name(std::string_view text)
{
	IoDeviceName name = {};
	const std::size_t bracket = text.find('(');
	if (bracket == std::string_view::npos)
		not_understood(text);
	const std::string_view numbers = text.substr(bracket + 1);
	const std::size_t first = numbers.find(',');
	const std::size_t second = numbers.find(',', first + 1);
	if (first == std::string_view::npos || second == std::string_view::npos)
		not_understood(text);
	name.path = text.substr(0, bracket);
	name.major = number_of<std::uint32_t>(numbers.substr(0, first), text);
	name.minor = number_of<std::uint32_t>(numbers.substr(first + 1, second - first - 1), text);
	return name;
}

/* Returns the numbers after the label of a row, or nothing if the page ends within the row. */
std::vector<std::string_view> take_row(std::string_view &text, std::string_view label,
				       std::span<const std::size_t> columns)
{
	if (text.find('\n') == std::string_view::npos)
		return {};
	const std::string_view line = take_line(text);
	const std::string_view row =
		line.substr(std::min(line.find_first_not_of(' '), line.size()));
	if (!row.starts_with(label))
		not_understood(line);
	auto numbers = split_columns(row.substr(label.size()), columns);
	if (numbers.empty())
		not_understood(line);
	return numbers;
}

std::uint64_t value_of(std::string_view word)
{
	return number_of<std::uint64_t>(word, word);
}

/* The kernel prints UIDs as signed numbers. */
std::uint32_t printed_uid(std::string_view word)
{
	return static_cast<std::uint32_t>(number_of<std::int64_t>(word, word));
}

std::string top_label(std::size_t index)
{
	return fmt::format("Top{:>2}: ", index + 1);
}

void take_io_top(std::string_view &text, zem_kio &kio)
{
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const auto row = take_row(text, top_label(i), kTopWidths);
		if (row.empty())
			throw Failure(kRanksMissing);
		zem_io_top &top = kio.io_top[i];
		top.uid = printed_uid(row[0]);
		top.delta_total = value_of(row[1]);
		for (std::size_t column = 0; column < kColumnMembers.size(); column++) {
			top.delta.*kColumnMembers[column] = value_of(row[2 + column]);
			top.value.*kColumnMembers[column] =
				value_of(row[2 + kColumnMembers.size() + column]);
		}
	}
}

/* Return: whether all ranks are complete. */
bool take_iowait_top(std::string_view &text, zem_kio &kio)
{
	for (std::size_t i = 0; i < ZEM_IO_TOP; i++) {
		const auto row = take_row(text, top_label(i), kIowaitWidths);
		if (row.empty())
			return false;
		kio.iowait_top[i] = {printed_uid(row[0]), 0, value_of(row[1]), value_of(row[2])};
	}
	return true;
}

void scan_totals(Scanner &scanner, zem_kio &kio)
{
	scanner.word("fg bio_count:").number(kio.fg_bios);
	scanner.word("; bg bio_count:").number(kio.bg_bios);
	scanner.word("read bio count:").number(kio.read_bios);
	scanner.word("; write sync bio count:").number(kio.write_sync_bios);
	scanner.word("; write async bio count:").number(kio.write_async_bios);
	scanner.word("continue read size: 4k:").number(kio.read_sizes[0]);
	scanner.word("8k:").number(kio.read_sizes[1]);
	scanner.word(", 32k:").number(kio.read_sizes[2]);
	scanner.word(", >32k:").number(kio.read_sizes[3]);
	scanner.word("read io size:").number(kio.read_pages);
	scanner.word("; write sync io size:").number(kio.write_sync_pages);
	scanner.word("; write async io size:").number(kio.write_async_pages);
}

void scan_latencies(Scanner &scanner, std::string_view title, zem_kio &kio,
		    zem_io_latency zem_io_device::*read, zem_io_latency zem_io_device::*write)
{
	scanner.word(title).skip_line().word("READ").skip_line();
	for (zem_io_device &device : kio.devices) {
		zem_io_latency &reads = device.*read;
		zem_io_latency &writes = device.*write;
		scanner.label();
		for (std::size_t bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++)
			scanner.number(reads.buckets[bucket])
				.word("|")
				.number(writes.buckets[bucket]);
		scanner.word("total_time_r:").number(reads.total_time);
		scanner.word("total_time_w:").number(writes.total_time);
	}
}

} // namespace

void parse_disk_view(std::string_view text, IoReading &reading)
{
	std::string_view names = take_titled_line(text, "dev(major, minor): ");
	for (IoDeviceName &name : reading.names) {
		const std::string_view one = names.substr(0, names.find('|'));
		name = parse_device_name(trimmed(one));
		names.remove_prefix(std::min(one.size() + 1, names.size()));
	}
	take_titled_line(text, "/proc/diskstats:");
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const auto row = take_row(text, reading.names[i].path + ": ", kDiskWidths);
		if (row.empty())
			throw Failure(
				fmt::format("the row of {} is missing", reading.names[i].path));
		for (std::size_t column = 0; column < kDiskColumns; column++)
			reading.kio.devices[i].disk.*kDiskMembers[column] = value_of(row[column]);
	}
}

/* The first list always fits into the page. With wide numbers the second may not. */
void parse_uid_view(std::string_view text, IoReading &reading)
{
	const bool fills_the_page = text.size() + 1 >= kPageSize;
	take_titled_line(text, "/proc/uid_io/stats:");
	take_io_top(text, reading.kio);
	take_titled_line(text, "/proc/uid_iowait/stats:");
	reading.cut = !take_iowait_top(text, reading.kio);
	if (reading.cut && !fills_the_page)
		throw Failure(kRanksMissing);
}

void parse_bio_view(std::string_view text, IoReading &reading)
{
	Scanner scanner(text);
	try {
		scan_totals(scanner, reading.kio);
		scan_latencies(scanner, "bio_fg Q2C:", reading.kio, &zem_io_device::read_fg,
			       &zem_io_device::write_fg);
		scan_latencies(scanner, "bio_bg Q2C:", reading.kio, &zem_io_device::read_bg,
			       &zem_io_device::write_bg);
	} catch (const ScanFault &fault) {
		not_understood(first_line(fault.rest));
	}
}
IoReading read_io_views(const std::string &directory)
{
	IoReading reading = {};
	const auto read_view = [&](const char *name, void (*parse)(std::string_view, IoReading &)) {
		parse_file(fmt::format("{}/{}", directory, name),
			   [&](std::string_view text) { parse(text, reading); });
	};
	read_view("show1_diskstats", parse_disk_view);
	read_view("show2_uid_io", parse_uid_view);
	read_view("show3_bio_time", parse_bio_view);
	return reading;
}

} // namespace zemctl
