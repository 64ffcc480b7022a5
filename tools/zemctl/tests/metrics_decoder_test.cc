// SPDX-License-Identifier: GPL-2.0
/*
 * Decoded payloads of load, health, IO and USB: exact texts and the structure of the JSON, also for
 * payloads that no kernel sends.
 */
#include <cstring>

#include <gtest/gtest.h>

#include "decode/capacity.h"
#include "decoder_fixture.h"

namespace zemctl {

namespace {

zem_load made_load()
{
	zem_load task = {};
	task.pid = 1240;
	std::strcpy(task.comm, "Render Thread");
	task.ppid = 1234;
	task.leader_flag = 1;
	std::strcpy(task.pkg, "com.example.app");
	task.runtime = 12'345'678;
	task.usage = 22706;
	task.combined = 45410;
	task.sum_exec_runtime = 1'000'000'000;
	task.counter_a[0] = 1;
	task.counter_a[1] = UINT64_MAX;
	task.counter_b[0] = 3;
	task.counter_b[1] = 4;
	task.counter_c[0] = 5;
	task.counter_c[1] = 6;
	return task;
}

zem_cgroup made_cgroup()
{
	constexpr const char *kNames[] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};
	zem_cgroup groups = {};
	for (std::uint64_t i = 0; i < ZEM_CGROUPS; i++) {
		std::strcpy(groups.entries[i].name, kNames[i]);
		groups.entries[i].lat = 1'000'000 * (7 - i);
		groups.entries[i].d_io = 1000 * i;
		groups.entries[i].d_nonio = i;
	}
	return groups;
}

zem_usb made_usb()
{
	zem_usb report = {};
	std::strcpy(report.speed, "super-speed");
	report.id_vendor = 0x1a2b;
	report.id_product = 0x3c;
	std::strcpy(report.manufacturer, "maker");
	std::strcpy(report.product, "USB stick");
	report.event = ZEM_USB_IO_ERROR;
	std::strcpy(report.message, "Buffer I/O error on dev sda1, logical block 18");
	return report;
}

zem_kio made_kio()
{
	zem_kio kio = {};
	kio.devices[0].disk = {100, 2, 800, 30, 50, 1, 400, 20, 0, 45, 0};
	kio.devices[0].read_fg = {{90, 5, 4, 3, 2, 1, UINT32_MAX}, 0, 123};
	kio.devices[0].write_bg.total_time = UINT64_MAX;
	kio.devices[3].write_bg = {{7, 0, 0, 0, 0, 0, 0}, 0, UINT64_MAX};
	kio.io_top[0].uid = 10050;
	kio.io_top[0].value = {1, 2, 3, 4, 5, 6, 7'000'000, 8, 9};
	kio.io_top[0].read_calls = 10;
	kio.io_top[0].delta = {11, 12, 13, 14, 15, 16, 17'000'000, 18, 19};
	kio.io_top[0].delta_total = 50;
	kio.io_top[2].uid = UINT32_MAX;
	kio.io_top[2].delta_total = UINT64_MAX;
	kio.iowait_top[1] = {10060, 0, 3'000'000, 1'500'000};
	kio.fg_bios = 1;
	kio.bg_bios = 2;
	kio.read_bios = 3;
	kio.write_sync_bios = 4;
	kio.write_async_bios = 5;
	kio.read_pages = 6;
	kio.write_sync_pages = 7;
	kio.write_async_pages = 8;
	for (std::uint64_t i = 0; i < 4; i++)
		kio.read_sizes[i] = 20 + i;
	return kio;
}

std::string full(std::uint8_t channel, const std::string &payload)
{
	return format_full(Unaligned(channel, payload).record());
}

} // namespace

TEST(MetricsDecoderTest, cpu)
{
	const Unaligned bytes(ZEM_CHANNEL_CPU, bytes_of(zem_cpu{7, 0, 123456789, 45410}));
	EXPECT_EQ(payload_column(bytes),
		  "cpu7: 99 % of full capacity, usage 45410; 123456789 cycles in all\n");
	EXPECT_EQ(format_full(bytes.record()), "");
	EXPECT_EQ(decoded(bytes), nlohmann::json({{"cpu", 7},
						  {"cycles", "123456789"},
						  {"usage", 45410},
						  {"usage_percent", 99}}));
}

TEST(MetricsDecoderTest, shares_of_capacity_are_rounded_down_and_do_not_overflow)
{
	for (const auto &[usage, percent] : {std::pair<std::uint64_t, std::uint64_t>{0, 0},
					     {454, 0},
					     {455, 1},
					     {45410, 99},
					     {45411, 100},
					     {kJsonLargest, 19834840137281}}) {
		const auto object = decoded(
			{ZEM_CHANNEL_CPU, bytes_of(zem_cpu{UINT32_MAX, 0, UINT64_MAX, usage})});
		EXPECT_EQ(object["usage"], usage);
		EXPECT_EQ(object["usage_percent"], percent) << usage;
		EXPECT_EQ(object["cpu"], UINT32_MAX);
		EXPECT_EQ(object["cycles"], "18446744073709551615");
	}
	EXPECT_EQ(percent_of_capacity(UINT64_MAX / 100), 406217526011529u);
	EXPECT_EQ(percent_of_capacity(UINT64_MAX), 40621752601152918u);
}

TEST(MetricsDecoderTest, numbers_that_no_double_holds_are_null)
{
	for (const std::uint64_t usage : {kJsonLargest + 1, UINT64_MAX})
		EXPECT_EQ(decoded({ZEM_CHANNEL_CPU, bytes_of(zem_cpu{0, 0, 0, usage})})["usage"],
			  nullptr);
}

TEST(MetricsDecoderTest, load_in_a_line)
{
	zem_load task = made_load();
	EXPECT_EQ(payload_column({ZEM_CHANNEL_LOAD, bytes_of(task)}),
		  "Render Thread of com.example.app 1234/1240: usage 22706 (50 %), combined 45410 "
		  "(99 %), ran 12.345 ms\n");
	std::memset(task.pkg, 0, sizeof(task.pkg));
	task.ppid = -1;
	EXPECT_EQ(payload_column({ZEM_CHANNEL_LOAD, bytes_of(task)}),
		  "Render Thread -1/1240: usage 22706 (50 %), combined 45410 (99 %), ran 12.345 "
		  "ms\n");
}

TEST(MetricsDecoderTest, load_in_full)
{
	EXPECT_EQ(full(ZEM_CHANNEL_LOAD, bytes_of(made_load())),
		  "    ran in all       1000.000 ms\n"
		  "    group marked     yes\n"
		  "    counters A       1 18446744073709551615\n"
		  "    counters B       3 4\n"
		  "    counters C       5 6\n");
}

TEST(MetricsDecoderTest, load_as_json)
{
	EXPECT_EQ(decoded({ZEM_CHANNEL_LOAD, bytes_of(made_load())}),
		  nlohmann::json({{"pid", 1240},
				  {"comm", "Render Thread"},
				  {"tgid", 1234},
				  {"leader_flag", 1},
				  {"package", "com.example.app"},
				  {"runtime_ns", 12345678},
				  {"usage", 22706},
				  {"usage_percent", 50},
				  {"combined", 45410},
				  {"combined_percent", 99},
				  {"sum_exec_runtime_ns", "1000000000"},
				  {"counter_a", {"1", "18446744073709551615"}},
				  {"counter_b", {"3", "4"}},
				  {"counter_c", {"5", "6"}}}));
}

TEST(MetricsDecoderTest, load_names_of_any_bytes_do_no_harm)
{
	zem_load task = {};
	std::memset(task.comm, '\n', sizeof(task.comm));
	std::memset(task.pkg, 'p', sizeof(task.pkg));
	const Unaligned bytes(ZEM_CHANNEL_LOAD, bytes_of(task));
	EXPECT_EQ(payload_column(bytes).find("\\x0a\\x0a"), 0u);
	EXPECT_EQ(decoded(bytes)["comm"], std::string(16, '\n'));
	EXPECT_EQ(decoded(bytes)["package"], std::string(32, 'p'));
}

TEST(MetricsDecoderTest, cgroup_in_a_line)
{
	EXPECT_EQ(payload_column({ZEM_CHANNEL_CGROUP, bytes_of(made_cgroup())}),
		  "all waited 7.000 ms, slept in D state 0.000 ms for IO and 0.000 ms else\n");
}

TEST(MetricsDecoderTest, cgroup_in_full_has_no_time_for_sums_that_were_reset)
{
	zem_cgroup groups = made_cgroup();
	groups.entries[1].lat = UINT64_MAX;
	groups.entries[2].d_io = std::uint64_t{1} << 63;
	groups.entries[3].d_nonio = (std::uint64_t{1} << 63) - 1;
	EXPECT_EQ(full(ZEM_CHANNEL_CGROUP, bytes_of(groups)),
		  "    GROUP       RUN DELAY ms      D STATE IO ms    D STATE ELSE ms\n"
		  "    all                7.000              0.000              0.000\n"
		  "    root                   -              0.001              0.000\n"
		  "    fg                 5.000                  -              0.000\n"
		  "    top                4.000              0.003  9223372036854.775\n"
		  "    bg                 3.000              0.004              0.000\n"
		  "    sysbg              2.000              0.005              0.000\n"
		  "    svp                1.000              0.006              0.000\n");
}

TEST(MetricsDecoderTest, cgroup_as_json_has_null_for_sums_that_were_reset)
{
	zem_cgroup groups = made_cgroup();
	groups.entries[6].lat = UINT64_MAX;
	const auto entries = decoded({ZEM_CHANNEL_CGROUP, bytes_of(groups)})["groups"];
	ASSERT_EQ(entries.size(), 7u);
	EXPECT_EQ(entries[5], nlohmann::json({{"name", "sysbg"},
					      {"lat_ns", 2000000},
					      {"d_io_ns", 5000},
					      {"d_nonio_ns", 5}}));
	EXPECT_EQ(entries[6]["lat_ns"], nullptr);
}

TEST(MetricsDecoderTest, usb)
{
	const Unaligned bytes(ZEM_CHANNEL_USB, bytes_of(made_usb()));
	EXPECT_EQ(payload_column(bytes), "Buffer I/O error on dev sda1, logical block 18: "
					 "1a2b:003c maker USB stick, super-speed\n");
	EXPECT_EQ(format_full(bytes.record()), "");
	EXPECT_EQ(decoded(bytes),
		  nlohmann::json({{"speed", "super-speed"},
				  {"id_vendor", 0x1a2b},
				  {"id_product", 0x3c},
				  {"manufacturer", "maker"},
				  {"product", "USB stick"},
				  {"event", 2},
				  {"message", "Buffer I/O error on dev sda1, logical block 18"}}));
}

TEST(MetricsDecoderTest, usb_names_end_with_their_fields)
{
	zem_usb report = made_usb();
	std::memset(report.manufacturer, 'm', sizeof(report.manufacturer));
	std::memset(report.product, 'p', sizeof(report.product));
	std::memset(report.message, 0, sizeof(report.message));
	report.event = UINT32_MAX;
	const Unaligned bytes(ZEM_CHANNEL_USB, bytes_of(report));
	EXPECT_EQ(payload_column(bytes), "event 4294967295: 1a2b:003c " + std::string(32, 'm') +
						 " " + std::string(32, 'p') + ", super-speed\n");
	EXPECT_EQ(decoded(bytes)["manufacturer"], std::string(32, 'm'));
}

TEST(MetricsDecoderTest, kio_in_a_line)
{
	zem_kio kio = made_kio();
	EXPECT_EQ(payload_column({ZEM_CHANNEL_KIO, bytes_of(kio)}),
		  "reads 3 of 6 pages, sync writes 4 of 7 pages, async writes 5 of 8 pages; most "
		  "IO: uid 10050, 50 bytes\n");
	kio.io_top[0] = {};
	EXPECT_EQ(payload_column({ZEM_CHANNEL_KIO, bytes_of(kio)}),
		  "reads 3 of 6 pages, sync writes 4 of 7 pages, async writes 5 of 8 pages; most "
		  "IO: uid 0, 0 bytes\n");
	kio.io_top[2] = {};
	EXPECT_EQ(payload_column({ZEM_CHANNEL_KIO, bytes_of(kio)}),
		  "reads 3 of 6 pages, sync writes 4 of 7 pages, async writes 5 of 8 pages\n");
}

TEST(MetricsDecoderTest, kio_in_full)
{
	const std::string none = "<1 ms 0, <16 ms 0, <67 ms 0, <134 ms 0, <268 ms 0, <536 ms 0, "
				 ">=536 ms 0\n";
	const std::string idle = "      read              0 in 0 ms, 0 merged, 0 sectors\n"
				 "      wrote             0 in 0 ms, 0 merged, 0 sectors\n"
				 "      busy              0 ms\n"
				 "      foreground reads  " +
				 none + "      background reads  " + none +
				 "      foreground writes " + none;
	EXPECT_EQ(full(ZEM_CHANNEL_KIO, bytes_of(made_kio())),
		  "    /dev/block/sda\n"
		  "      read              100 in 30 ms, 2 merged, 800 sectors\n"
		  "      wrote             50 in 20 ms, 1 merged, 400 sectors\n"
		  "      busy              45 ms\n"
		  "      foreground reads  <1 ms 90, <16 ms 5, <67 ms 4, <134 ms 3, <268 ms 2, "
		  "<536 ms 1, >=536 ms 4294967295\n"
		  "      background reads  " +
			  none + "      foreground writes " + none + "      background writes " +
			  none + "    /dev/block/sde\n" + idle + "      background writes " + none +
			  "    /dev/block/by-name/super\n" + idle + "      background writes " +
			  none + "    /dev/block/by-name/userdata\n" + idle +
			  "      background writes <1 ms 7, <16 ms 0, <67 ms 0, <134 ms 0, "
			  "<268 ms 0, <536 ms 0, >=536 ms 0\n"
			  "    bios since upload reads 3 of 6 pages, sync writes 4 of 7 pages, "
			  "async writes 5 of 8 pages; foreground 1, background 2\n"
			  "    last interval     reads of 1 page 20, of 2 21, of 3 to 8 22, of "
			  "more 23\n"
			  "                      times per 4 KiB: foreground reads 12.3 ms, "
			  "background reads 0.0 ms, foreground writes 0.0 ms, background writes "
			  "1844674407370955161.5 ms\n"
			  "    most IO in the last interval\n"
			  "       1. uid 10050: 50 bytes\n"
			  "          interval  frb 11, fwb 12, brb 13, bwb 14, fbc 15, bbc 16, "
			  "iowait 17.000 ms, swc 18, awc 19\n"
			  "          in all    frb 1, fwb 2, brb 3, bwb 4, fbc 5, bbc 6, iowait "
			  "7.000 ms, swc 8, awc 9, read calls 10\n"
			  "       2. uid 0: 0 bytes\n"
			  "          interval  frb 0, fwb 0, brb 0, bwb 0, fbc 0, bbc 0, iowait "
			  "0.000 ms, swc 0, awc 0\n"
			  "          in all    frb 0, fwb 0, brb 0, bwb 0, fbc 0, bbc 0, iowait "
			  "0.000 ms, swc 0, awc 0, read calls 0\n"
			  "       3. uid 4294967295: 18446744073709551615 bytes\n"
			  "          interval  frb 0, fwb 0, brb 0, bwb 0, fbc 0, bbc 0, iowait "
			  "0.000 ms, swc 0, awc 0\n"
			  "          in all    frb 0, fwb 0, brb 0, bwb 0, fbc 0, bbc 0, iowait "
			  "0.000 ms, swc 0, awc 0, read calls 0\n"
			  "    most IO wait in the last interval\n"
			  "       1. uid 0: 0.000 ms, in all 0.000 ms\n"
			  "       2. uid 10060: 1.500 ms, in all 3.000 ms\n");
}

TEST(MetricsDecoderTest, kio_shows_a_tail_only_where_there_is_one)
{
	zem_kio kio = made_kio();
	EXPECT_EQ(decoded({ZEM_CHANNEL_KIO, bytes_of(kio)})["tail_hex"], "");
	kio.tail[679] = 'T';
	const std::string text = full(ZEM_CHANNEL_KIO, bytes_of(kio));
	const std::size_t tail = text.find("    tail\n      0000  00 00 ");
	ASSERT_NE(tail, std::string::npos) << text;
	EXPECT_NE(text.find("      02a0  00 00 00 00 00 00 00 54                           "
			    "|.......T|\n",
			    tail),
		  std::string::npos)
		<< text;
	EXPECT_EQ(decoded({ZEM_CHANNEL_KIO, bytes_of(kio)})["tail_hex"],
		  std::string(2 * 679, '0') + "54");
}

TEST(MetricsDecoderTest, kio_as_json)
{
	const auto object = decoded({ZEM_CHANNEL_KIO, bytes_of(made_kio())});
	const auto header = nlohmann::json::parse(
		JsonStream(PayloadHex::kOthers).header(StreamSource::kDevice));
	EXPECT_EQ(header["io_bounds_us"],
		  nlohmann::json({1000, 16000, 67000, 134000, 268000, 536000}));
	ASSERT_EQ(object["devices"].size(), 4u);
	const nlohmann::json idle = {{"counts", {0, 0, 0, 0, 0, 0, 0}}, {"total_time_us", 0}};
	EXPECT_EQ(
		object["devices"][0],
		nlohmann::json(
			{{"path", "/dev/block/sda"},
			 {"disk",
			  {{"rd_ios", 100},
			   {"rd_merges", 2},
			   {"rd_sectors", 800},
			   {"rd_ticks_ms", 30},
			   {"wr_ios", 50},
			   {"wr_merges", 1},
			   {"wr_sectors", 400},
			   {"wr_ticks_ms", 20},
			   {"in_flight", 0},
			   {"io_ticks_ms", 45},
			   {"time_in_queue_ms", 0}}},
			 {"read_fg",
			  {{"counts", {90, 5, 4, 3, 2, 1, UINT32_MAX}}, {"total_time_us", 12300}}},
			 {"read_bg", idle},
			 {"write_fg", idle},
			 {"write_bg",
			  {{"counts", {0, 0, 0, 0, 0, 0, 0}}, {"total_time_us", nullptr}}}}));
	EXPECT_EQ(object["devices"][3]["path"], "/dev/block/by-name/userdata");
	EXPECT_EQ(object["devices"][3]["write_bg"]["total_time_us"], nullptr);
	for (const auto &[name, value] : {std::pair<const char *, int>{"fg_bios", 1},
					  {"bg_bios", 2},
					  {"read_bios", 3},
					  {"write_sync_bios", 4},
					  {"write_async_bios", 5},
					  {"read_pages", 6},
					  {"write_sync_pages", 7},
					  {"write_async_pages", 8}})
		EXPECT_EQ(object[name], value) << name;
	EXPECT_EQ(object["read_sizes"], nlohmann::json({20, 21, 22, 23}));
}

TEST(MetricsDecoderTest, kio_as_json_has_no_vacant_rank)
{
	const auto object = decoded({ZEM_CHANNEL_KIO, bytes_of(made_kio())});
	ASSERT_EQ(object["io_top"].size(), 3u);
	EXPECT_EQ(object["io_top"][0], nlohmann::json({{"rank", 1},
						       {"uid", 10050},
						       {"value",
							{{"frb_bytes", 1},
							 {"fwb_bytes", 2},
							 {"brb_bytes", 3},
							 {"bwb_bytes", 4},
							 {"fbc", 5},
							 {"bbc", 6},
							 {"iowait_ns", "7000000"},
							 {"swc_bytes", 8},
							 {"awc_bytes", 9}}},
						       {"read_calls", 10},
						       {"delta",
							{{"frb_bytes", 11},
							 {"fwb_bytes", 12},
							 {"brb_bytes", 13},
							 {"bwb_bytes", 14},
							 {"fbc", 15},
							 {"bbc", 16},
							 {"iowait_ns", "17000000"},
							 {"swc_bytes", 18},
							 {"awc_bytes", 19}}},
						       {"delta_total_bytes", 50}}));
	EXPECT_EQ(object["io_top"][2]["rank"], 3);
	EXPECT_EQ(object["io_top"][2]["uid"], UINT32_MAX);
	EXPECT_EQ(object["io_top"][2]["delta_total_bytes"], nullptr);
	ASSERT_EQ(object["iowait_top"].size(), 2u);
	EXPECT_EQ(object["iowait_top"][1], nlohmann::json({{"rank", 2},
							   {"uid", 10060},
							   {"iowait_ns", "3000000"},
							   {"delta_iowait_ns", 1500000}}));
}

TEST(MetricsDecoderTest, an_entry_of_zeros_in_front_of_a_filled_rank_is_the_first_uid)
{
	const auto object = decoded({ZEM_CHANNEL_KIO, bytes_of(made_kio())});
	EXPECT_EQ(object["io_top"][1]["uid"], 0);
	EXPECT_EQ(object["io_top"][1]["delta_total_bytes"], 0);
	EXPECT_EQ(object["iowait_top"][0]["uid"], 0);
	const auto none = decoded({ZEM_CHANNEL_KIO, bytes_of(zem_kio{})});
	EXPECT_EQ(none["io_top"], nlohmann::json::array());
	EXPECT_EQ(none["iowait_top"], nlohmann::json::array());
}

} // namespace zemctl
