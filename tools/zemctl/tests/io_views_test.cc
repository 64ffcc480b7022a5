// SPDX-License-Identifier: GPL-2.0
/*
 * Parsing of the views of /sys/kioind, in the kernel's exact layout and in damaged ones.
 */
#include "views/io_views.h"

#include <cstring>

#include <gtest/gtest.h>

#include "failure_of.h"
#include "fake_kioind.h"
#include "views/columns.h"

namespace zemctl {

namespace {

using Parse = void (*)(std::string_view, IoReading &);
using Words = std::vector<std::string_view>;

/* Every number that a view shows is different. */
zem_kio made_kio()
{
	zem_kio kio = {};
	std::uint64_t next = 1;
	for (zem_io_device &device : kio.devices) {
		zem_io_disk &disk = device.disk;
		for (auto *value : {&disk.rd_ios, &disk.rd_merges, &disk.rd_sectors, &disk.rd_ticks,
				    &disk.wr_ios, &disk.wr_merges, &disk.wr_sectors, &disk.wr_ticks,
				    &disk.in_flight, &disk.io_ticks, &disk.time_in_queue})
			*value = next++;
		for (zem_io_latency *latency :
		     {&device.read_fg, &device.read_bg, &device.write_fg, &device.write_bg}) {
			for (auto &bucket : latency->buckets)
				bucket = static_cast<std::uint32_t>(next++);
			latency->total_time = next++;
		}
	}
	for (zem_io_top &top : kio.io_top) {
		top.uid = static_cast<std::uint32_t>(next++);
		top.delta_total = next++;
		for (zem_io_columns *columns : {&top.delta, &top.value})
			for (auto *value :
			     {&columns->frb, &columns->fwb, &columns->brb, &columns->bwb,
			      &columns->fbc, &columns->bbc, &columns->swc, &columns->awc})
				*value = next++;
	}
	for (zem_iowait_top &top : kio.iowait_top)
		top = {static_cast<std::uint32_t>(next++), 0, next++, next++};
	for (auto *value : {&kio.fg_bios, &kio.bg_bios, &kio.read_bios, &kio.write_sync_bios,
			    &kio.write_async_bios, &kio.read_pages, &kio.write_sync_pages,
			    &kio.write_async_pages})
		*value = next++;
	for (auto &size : kio.read_sizes)
		size = next++;
	return kio;
}

/* Parses the three views of @kio. */
IoReading read_back(const zem_kio &kio)
{
	IoReading reading = {};
	parse_disk_view(disk_view(kio), reading);
	parse_uid_view(uid_view(kio), reading);
	parse_bio_view(bio_view(kio), reading);
	return reading;
}

std::string view_failure(Parse parse, std::string_view text)
{
	IoReading reading = {};
	return failure_of(parse, text, reading);
}

Words split(std::string_view line, std::initializer_list<std::size_t> widths)
{
	return split_columns(line, std::vector<std::size_t>(widths));
}

} // namespace

TEST(ColumnsTest, padded_numbers)
{
	EXPECT_EQ(split("12  0   345 ", {4, 4, 4}), (Words{"12", "0", "345"}));
	EXPECT_EQ(split("-1      7   ", {8, 4}), (Words{"-1", "7"}));
}

TEST(ColumnsTest, a_number_that_fills_its_column_touches_the_next)
{
	EXPECT_EQ(split("12345678", {4, 4}), (Words{"1234", "5678"}));
	EXPECT_EQ(split("123456789", {4, 4}), (Words{})) << "1234 56789, or 12345 6789";
	EXPECT_EQ(split("1234567 ", {4, 4}), (Words{"1234", "567"}));
	EXPECT_EQ(split("99910050409600          ", {8, 16}), (Words{"99910050", "409600"}));
	EXPECT_EQ(split("1844674407370955161518446744073709551615", {16, 16}),
		  (Words{"18446744073709551615", "18446744073709551615"}));
}

TEST(ColumnsTest, what_can_be_read_in_no_way)
{
	for (const char *line : {"", "1", "1   2", "1   2   3   ", "1   x   ", "1  2    ",
				 " 1  2   ", "01  2   ", "1   +2  ", "1   -   "})
		EXPECT_EQ(split(line, {4, 4}), Words()) << line;
	EXPECT_EQ(split("18446744073709551616", {16}), Words());
}

TEST(IoViewsTest, the_layout_is_the_kernels)
{
	/* Checks the layouts themselves, so that the printer of these tests keeps them. */
	zem_kio kio = {};
	kio.devices[0].disk.rd_ios = 1234567890123;
	const std::string disks = disk_view(kio);
	EXPECT_NE(disks.find("/dev/block/sda: 12345678901230            0            "),
		  std::string::npos)
		<< disks;
	EXPECT_NE(disks.find("\ndev(major, minor): /dev/block/sda(8,0,00000000d1ce5a17)|"),
		  std::string::npos)
		<< disks;
	EXPECT_NE(uid_view(kio).find("             Top 1: 0       0               0"),
		  std::string::npos);
	EXPECT_NE(uid_view(kio).find("             Top10: 0       0               0"),
		  std::string::npos);
}

TEST(IoViewsTest, every_number_is_parsed)
{
	const zem_kio kio = made_kio();
	const IoReading reading = read_back(kio);
	EXPECT_EQ(std::memcmp(&reading.kio, &kio, sizeof(kio)), 0);
	EXPECT_FALSE(reading.cut);
	EXPECT_EQ(reading.names[0].path, "/dev/block/sda");
	EXPECT_EQ(reading.names[0].major, 8u);
	EXPECT_EQ(reading.names[0].minor, 0u);
	EXPECT_EQ(reading.names[1].minor, 64u) << "an address that is still hidden";
	EXPECT_EQ(reading.names[3].path, "/dev/block/by-name/userdata");
	EXPECT_EQ(reading.names[3].major, 0u);
}

TEST(IoViewsTest, the_largest_numbers)
{
	zem_kio kio = {};
	std::memset(&kio.devices[0].disk, 0xff, sizeof(kio.devices[0].disk));
	std::memset(&kio.devices[3].write_bg.buckets, 0xff,
		    sizeof(kio.devices[3].write_bg.buckets));
	kio.devices[3].write_bg.total_time = UINT64_MAX;
	kio.io_top[0].uid = UINT32_MAX;
	kio.io_top[0].delta_total = UINT64_MAX;
	kio.io_top[0].value.awc = UINT64_MAX;
	kio.iowait_top[9] = {UINT32_MAX, 0, UINT64_MAX, UINT64_MAX};
	kio.fg_bios = UINT64_MAX;
	kio.read_sizes[3] = UINT64_MAX;
	kio.write_async_pages = UINT64_MAX;
	const IoReading reading = read_back(kio);
	EXPECT_EQ(std::memcmp(&reading.kio, &kio, sizeof(kio)), 0);
	EXPECT_FALSE(reading.cut);
}

TEST(IoViewsTest, a_list_that_does_not_fit_into_the_page_is_cut_off)
{
	zem_kio kio = made_kio();
	for (zem_io_top &top : kio.io_top)
		top.delta_total = top.delta.frb = top.value.frb = UINT64_MAX;
	kio.iowait_top[0].iowait = UINT64_MAX;
	ASSERT_EQ(uid_view(kio).size(), 4095u);
	const IoReading reading = read_back(kio);
	EXPECT_TRUE(reading.cut);
	EXPECT_EQ(std::memcmp(&reading.kio.io_top, &kio.io_top, sizeof(kio.io_top)), 0);
	EXPECT_EQ(reading.kio.iowait_top[0].uid, kio.iowait_top[0].uid);
	EXPECT_EQ(reading.kio.iowait_top[9].uid, 0u);

	for (zem_io_top &top : kio.io_top)
		std::memset(&top, 0xff, sizeof(top));
	const IoReading shorter = read_back(kio);
	EXPECT_TRUE(shorter.cut);
	EXPECT_EQ(shorter.kio.io_top[0].delta_total, UINT64_MAX);
	EXPECT_EQ(shorter.kio.io_top[9].delta_total, UINT64_MAX);
	EXPECT_EQ(shorter.kio.iowait_top[0].uid, 0u);
}

TEST(IoViewsTest, views_that_are_not_understood)
{
	EXPECT_EQ(view_failure(parse_disk_view, ""), "\"dev(major, minor): \" is missing");
	EXPECT_EQ(view_failure(parse_disk_view, "dev(major, minor): a(1,2,3)|b\n"),
		  "not understood: \"b\"");
	EXPECT_EQ(view_failure(parse_disk_view, "dev(major, minor): a(1,x,3)|b\n"),
		  "not understood: \"a(1,x,3)\"");
	EXPECT_EQ(view_failure(parse_uid_view, ""), "\"/proc/uid_io/stats:\" is missing");
	EXPECT_EQ(view_failure(parse_bio_view, ""), "not understood: \"\"");
	EXPECT_EQ(view_failure(parse_bio_view, "\nfg bio_count: x; "), "not understood: \"x; \"");

	std::string disks = disk_view({});
	EXPECT_EQ(view_failure(parse_disk_view, disks.substr(0, disks.rfind("/dev/block"))),
		  "the row of /dev/block/by-name/userdata is missing");
	disks.replace(disks.rfind("0            \n"), 1, "x");
	EXPECT_EQ(view_failure(parse_disk_view, disks)
			  .find("not understood: \"/dev/block/by-name/user"),
		  0u);
	const std::string uids = uid_view({});
	EXPECT_EQ(view_failure(parse_uid_view, uids.substr(0, uids.find("Top 2"))),
		  "ranks are missing");
	EXPECT_EQ(view_failure(parse_uid_view, uids.substr(0, uids.rfind("Top10"))),
		  "ranks are missing");
	EXPECT_EQ(view_failure(parse_uid_view, uids.substr(0, uids.find("\n/proc/uid_iowait"))),
		  "\"/proc/uid_iowait/stats:\" is missing");
	const std::string bios = bio_view({});
	for (const char *end : {"\nread bio", "8k:", "bio_fg", "READ", "total_time_r", "bio_bg"})
		EXPECT_NE(view_failure(parse_bio_view, bios.substr(0, bios.find(end))), "none")
			<< end;
	EXPECT_NE(view_failure(parse_bio_view, bios.substr(0, bios.rfind("total_time_w"))), "none");
}

TEST(IoViewsTest, a_bucket_that_no_counter_holds_is_not_understood)
{
	std::string bios = bio_view({});
	bios.replace(bios.find("0       |0"), 10, "4294967296|0");
	EXPECT_EQ(view_failure(parse_bio_view, bios).find("not understood: \"4294967296|0 "), 0u);
}

} // namespace zemctl
