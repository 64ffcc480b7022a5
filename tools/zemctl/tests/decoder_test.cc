// SPDX-License-Identifier: GPL-2.0
/*
 * Decoded payloads of the scheduler families: exact texts and the structure of the JSON, also for
 * payloads that no kernel sends.
 */
#include "decoder_fixture.h"

#include <cstring>

#include <gtest/gtest.h>

#include "decode/decoder.h"

namespace zemctl {

namespace {

zem_svp made_svp()
{
	zem_svp task = {};
	task.tgid = 1200;
	task.pid = 1234;
	std::strcpy(task.thread_name, "RenderThread");
	std::strcpy(task.package_name, "com.example.app");
	/* Every word of the counters has a different number. */
	std::uint32_t words[sizeof(task.stats) / sizeof(std::uint32_t)];
	for (std::uint32_t i = 0; i < std::size(words); i++)
		words[i] = i;
	std::memcpy(&task.stats, words, sizeof(words));
	task.stats.run_delay_total = 1'234'567;
	task.stats.runtime_total = 12'345'678;
	task.stats.d_state_duration_total = 999;
	task.stats.iowait_total = 3'000'000;
	task.stats.iowait_coldstart = 2'500'000;
	task.stats.read_bytes = 4096;
	task.stats.write_bytes = UINT64_MAX;
	task.stats.bio_read_size = 8192;
	task.stats.bio_read_time = 1'000'000;
	task.stats.bio_write_size = 16384;
	task.stats.bio_write_time = 2'000'000;
	return task;
}

/* The index of a word counts from the start of the stats, byte 56 of the payload. */
nlohmann::json words(std::uint32_t payload_offset, std::uint32_t count)
{
	nlohmann::json result = nlohmann::json::array();
	for (std::uint32_t i = 0; i < count; i++)
		result.push_back((payload_offset - 56) / 4 + i);
	return result;
}

zem_sched made_sched()
{
	zem_sched sched = {};
	sched.irqtime.counts[0] = 1200;
	sched.irqtime.counts[9] = 34;
	sched.irqtime.cpu_time[0] = 1000;
	sched.irqtime.cpu_time[7] = UINT32_MAX;
	sched.irqtime.total_time = 12000;
	sched.svp_runtime.counts[4] = 3;
	sched.svp_runtime.total_time = 1;
	sched.svp_rundelay.counts[1] = UINT32_MAX;
	sched.svp_rundelay.counts[2] = 2;
	sched.svp_d_state.total_time = UINT32_MAX;
	return sched;
}

} // namespace

TEST(DecoderTest, svp_in_a_line)
{
	zem_svp task = made_svp();
	EXPECT_EQ(payload_column({ZEM_CHANNEL_SVP, bytes_of(task)}),
		  "RenderThread of com.example.app 1200/1234: ran 12.345 ms, waited 1.234 ms, "
		  "slept in D state 0.000 ms\n");
	std::memset(task.package_name, 0, sizeof(task.package_name));
	EXPECT_EQ(payload_column({ZEM_CHANNEL_SVP, bytes_of(task)}),
		  "RenderThread 1200/1234: ran 12.345 ms, waited 1.234 ms, slept in D state 0.000 "
		  "ms\n");
}

TEST(DecoderTest, svp_in_full)
{
	EXPECT_EQ(
		format_full(Unaligned(ZEM_CHANNEL_SVP, bytes_of(made_svp())).record()),
		"    ran                   12.345 ms  <5 ms 6, <15 ms 7, <30 ms 8, >=30 ms 9\n"
		"    waited                 1.234 ms  <2 ms 0, <10 ms 1, <20 ms 2, >=20 ms 3\n"
		"    slept in D state       0.000 ms  <3 ms 12, <10 ms 13, <30 ms 14, >=30 ms 15\n"
		"    waited for IO          3.000 ms  <1 ms 71, <3 ms 72, <10 ms 73, <20 ms 74, "
		"<50 ms 75, <100 ms 76, >=100 ms 77\n"
		"    IO waits         66, long ones of UI tasks 78, while starting 70 in 2.500 ms\n"
		"    system calls     read 4096 bytes in 82, wrote 18446744073709551615 bytes in "
		"86\n"
		"    devices          read 8192 bytes in 92 and 1.000 ms, wrote 16384 bytes in 98 "
		"and 2.000 ms\n"
		"    async_reclaim    <1 ms 18, <8 ms 19, <16 ms 20, <33 ms 21, <67 ms 22, "
		"<134 ms 23, >=134 ms 24\n"
		"    async_compact    <1 ms 25, <8 ms 26, <16 ms 27, <33 ms 28, <67 ms 29, "
		"<134 ms 30, >=134 ms 31\n"
		"    direct_reclaim   <1 ms 32, <8 ms 33, <16 ms 34, <33 ms 35, <67 ms 36, "
		"<134 ms 37, >=134 ms 38\n"
		"    direct_compact   <1 ms 39, <8 ms 40, <16 ms 41, <33 ms 42, <67 ms 43, "
		"<134 ms 44, >=134 ms 45\n"
		"    PG_locked        <1 ms 46, <8 ms 47, <16 ms 48, <33 ms 49, <67 ms 50, "
		"<134 ms 51, >=134 ms 52\n"
		"    failed by order  53 54 55 56 57 58 59 60 61 62 63\n");
}

TEST(DecoderTest, svp_as_json_has_every_field_at_its_offset)
{
	const auto object = decoded({ZEM_CHANNEL_SVP, bytes_of(made_svp())});
	EXPECT_EQ(object["tgid"], 1200);
	EXPECT_EQ(object["pid"], 1234);
	EXPECT_EQ(object["comm"], "RenderThread");
	EXPECT_EQ(object["package"], "com.example.app");
	const nlohmann::json stats = {
		{"run_delay", words(56, 4)},
		{"run_delay_total_ns", 1234567},
		{"runtime", words(80, 4)},
		{"runtime_total_ns", 12345678},
		{"d_state_duration", words(104, 4)},
		{"d_state_duration_total_ns", 999},
		{"async_reclaim", words(128, 7)},
		{"async_compact", words(156, 7)},
		{"direct_reclaim", words(184, 7)},
		{"direct_compact", words(212, 7)},
		{"PG_locked", words(240, 7)},
		{"alloc_fail_order", words(268, 11)},
		{"iowait_total_ns", 3000000},
		{"iowait_total_cnt", 66},
		{"iowait_coldstart_ns", 2500000},
		{"iowait_coldstart_cnt", 70},
		{"iowait_duration", words(340, 7)},
		{"ui_iowait_long_cnt", 78},
		{"read_bytes", 4096},
		{"read_syscall_cnt", 82},
		{"write_bytes", nullptr},
		{"write_syscall_cnt", 86},
		{"bio_read_size_bytes", 8192},
		{"bio_read_time_ns", 1000000},
		{"bio_read_cnt", 92},
		{"bio_write_size_bytes", 16384},
		{"bio_write_time_ns", 2000000},
		{"bio_write_cnt", 98},
	};
	EXPECT_EQ(object["stats"], stats);
}

TEST(DecoderTest, every_svp_array_of_durations_has_its_bounds)
{
	const auto object = decoded({ZEM_CHANNEL_SVP, bytes_of(made_svp())});
	const auto header = nlohmann::json::parse(
		JsonStream(PayloadHex::kOthers).header(StreamSource::kCapture));
	const nlohmann::json memory = {1000, 8000, 16000, 33000, 67000, 134000};
	EXPECT_EQ(header["svp_bounds_us"],
		  nlohmann::json({{"run_delay", {2000, 10000, 20000}},
				  {"runtime", {5000, 15000, 30000}},
				  {"d_state_duration", {3000, 10000, 30000}},
				  {"async_reclaim", memory},
				  {"async_compact", memory},
				  {"direct_reclaim", memory},
				  {"direct_compact", memory},
				  {"PG_locked", memory},
				  {"iowait_duration", {1000, 3000, 10000, 20000, 50000, 100000}}}));
	for (const auto &[name, bounds] : header["svp_bounds_us"].items())
		EXPECT_EQ(object["stats"][name].size(), bounds.size() + 1) << name;
}

TEST(DecoderTest, svp_names_that_fill_their_fields_end_there)
{
	zem_svp task = {};
	std::memset(task.thread_name, 't', sizeof(task.thread_name));
	std::memset(task.package_name, 'p', sizeof(task.package_name));
	const auto object = decoded({ZEM_CHANNEL_SVP, bytes_of(task)});
	EXPECT_EQ(object["comm"], std::string(16, 't'));
	EXPECT_EQ(object["package"], std::string(32, 'p'));
}

TEST(DecoderTest, svp_names_of_any_bytes_do_no_harm)
{
	zem_svp task = {};
	std::strcpy(task.thread_name, "\x1b[2J\n\xff");
	std::strcpy(task.package_name, "cut\xe2\x82");
	const Unaligned bytes(ZEM_CHANNEL_SVP, bytes_of(task));
	EXPECT_EQ(payload_column(bytes).substr(0, 33), R"(\x1b[2J\x0a\xff of cut\xe2\x82 0/)");
	EXPECT_EQ(decoded(bytes)["comm"], "\x1b[2J\n\\xff");
	EXPECT_EQ(decoded(bytes)["package"], "cut\\xe2\\x82");
}

TEST(DecoderTest, sched_in_a_line)
{
	EXPECT_EQ(payload_column({ZEM_CHANNEL_SCHED, bytes_of(made_sched())}),
		  "irq 1234 in 12.288 ms, svp ran 3 in 0.001 ms, waited 4294967297 in 0.000 ms, "
		  "slept in D state 0 in 4398046.510 ms\n");
}

TEST(DecoderTest, sched_in_full)
{
	const std::string text =
		format_full(Unaligned(ZEM_CHANNEL_SCHED, bytes_of(made_sched())).record());
	EXPECT_EQ(
		text.substr(0, text.find("    SVP tasks waiting")),
		"    hard interrupts: 1234 in 12.288 ms\n"
		"      <100 us 1200, <200 us 0, <300 us 0, <500 us 0, <1 ms 0, <2 ms 0, <4 ms 0, "
		"<6 ms 0, <8 ms 0, >=8 ms 34\n"
		"      cpu0 1.024 ms, cpu1 0.000 ms, cpu2 0.000 ms, cpu3 0.000 ms, cpu4 0.000 ms, "
		"cpu5 0.000 ms, cpu6 0.000 ms, cpu7 4398046.510 ms\n"
		"    SVP tasks on a CPU: 3 in 0.001 ms\n"
		"      <2 ms 0, <5 ms 0, <8 ms 0, <11 ms 0, <15 ms 3, <18 ms 0, <22 ms 0, "
		"<27 ms 0, <32 ms 0, >=32 ms 0\n"
		"      cpu0 0.000 ms, cpu1 0.000 ms, cpu2 0.000 ms, cpu3 0.000 ms, cpu4 0.000 ms, "
		"cpu5 0.000 ms, cpu6 0.000 ms, cpu7 0.000 ms\n");
	EXPECT_NE(text.find("      <0.5 ms 0, <1 ms 4294967295, <2 ms 2, <3 ms 0,"),
		  std::string::npos)
		<< text;
	EXPECT_NE(
		text.find(
			"    SVP tasks in uninterruptible sleep: 0 in 4398046.510 ms\n"
			"      <2 ms 0, <3 ms 0, <7 ms 0, <12 ms 0, <18 ms 0, <27 ms 0, <44 ms 0, "
			"<100 ms 0, <200 ms 0, >=200 ms 0\n"),
		std::string::npos)
		<< text;
}

TEST(DecoderTest, sched_as_json)
{
	const auto object = decoded({ZEM_CHANNEL_SCHED, bytes_of(made_sched())});
	EXPECT_EQ(object.size(), 4u);
	EXPECT_EQ(object["irqtime"],
		  nlohmann::json({{"counts", {1200, 0, 0, 0, 0, 0, 0, 0, 0, 34}},
				  {"cpu_time_ns", {1024000, 0, 0, 0, 0, 0, 0, 4398046510080}},
				  {"total_time_ns", 12288000}}));
	EXPECT_EQ(object["svp_runtime"]["counts"], nlohmann::json({0, 0, 0, 0, 3, 0, 0, 0, 0, 0}));
	EXPECT_EQ(object["svp_rundelay"]["counts"][1], UINT32_MAX);
	EXPECT_EQ(object["svp_d_state"]["total_time_ns"], 4398046510080);
	const auto header = nlohmann::json::parse(
		JsonStream(PayloadHex::kOthers).header(StreamSource::kCapture));
	const nlohmann::json &bounds = header["sched_bounds_us"];
	EXPECT_EQ(bounds["irqtime"],
		  nlohmann::json({100, 200, 300, 500, 1000, 2000, 4000, 6000, 8000}));
	EXPECT_EQ(bounds["svp_runtime"][4], 15000);
	EXPECT_EQ(bounds["svp_rundelay"][0], 500);
	EXPECT_EQ(bounds["svp_d_state"][8], 200000);
}

TEST(DecoderTest, kzerod)
{
	const Unaligned bytes(ZEM_CHANNEL_KZEROD, bytes_of(zem_kzerod{-1, 2, 3, 4, INT32_MAX}));
	EXPECT_EQ(payload_column(bytes), "pages: -1 failed, 2 prezeroed; lists: 3 allocated, 4 "
					 "broken down, 2147483647 drained\n");
	EXPECT_EQ(decoded(bytes),
		  nlohmann::json({{"zero_page_alloc_failed_pages", -1},
				  {"zero_page_alloc_prezero_pages", 2},
				  {"zero_page_list_alloc_total_pages", 3},
				  {"zero_page_list_breakdown_total_pages", 4},
				  {"zero_page_list_drain_total_pages", INT32_MAX}}));
	EXPECT_EQ(format_full(bytes.record()), "");
}

TEST(DecoderTest, a_payload_of_another_size_is_not_decoded)
{
	for (const std::uint8_t channel : {ZEM_CHANNEL_KMEM, ZEM_CHANNEL_SVP, ZEM_CHANNEL_SCHED,
					   ZEM_CHANNEL_KZEROD, ZEM_CHANNEL_CPU, ZEM_CHANNEL_LOAD,
					   ZEM_CHANNEL_CGROUP, ZEM_CHANNEL_KIO, ZEM_CHANNEL_USB}) {
		const std::size_t usual = find_decoder(channel)->size;
		for (const std::size_t size : {std::size_t{0}, std::size_t{1}, usual - 1, usual + 1,
					       std::size_t{ZEM_PAYLOAD_MAX}}) {
			const Unaligned bytes(channel, std::string(size, '\x01'));
			EXPECT_EQ(payload_column(bytes).find("not the usual " +
							     std::to_string(usual) + " bytes: "),
				  0u)
				<< payload_column(bytes);
			EXPECT_EQ(format_full(bytes.record()), "");
			EXPECT_TRUE(decoded(bytes).is_null());
		}
	}
}

} // namespace zemctl
