// SPDX-License-Identifier: GPL-2.0
/*
 * The exact texts of records and summaries.
 */
#include "decode/format.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "commands/summary.h"
#include "decode/json_stream.h"
#include "made_records.h"
#include "module_files.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kTime = 1'700'000'000'123'456'789;

class FormatTest : public testing::Test {
protected:
	void SetUp() override
	{
		::setenv("TZ", "UTC", 1);
		::tzset();
	}
};

} // namespace

TEST_F(FormatTest, a_line_under_its_heading)
{
	zem_record_header header = made_header(ZEM_CHANNEL_TOUCHSCREEN, 5, kTime);
	header.sub_type = 7;
	header.train_number = 42;
	const ByteVector bytes = made_record(header, "hello");
	EXPECT_EQ(TextFormat(Colour::kOff).heading(0),
		  "TIME (+00:00)               CHANNEL      SUB   TRAIN   LEN  PAYLOAD\n");
	EXPECT_EQ(format_line(as_record(bytes), Colour::kOff),
		  "2023-11-14 22:13:20.123456  touchscreen    7      42     5  \"hello\"\n");
}

TEST_F(FormatTest, data_is_shown_as_hex)
{
	const ByteVector bytes = made_record(ZEM_CHANNEL_FS, "\x01\x02\xff", kTime);
	EXPECT_EQ(format_line(as_record(bytes), Colour::kOff),
		  "2023-11-14 22:13:20.123456  fs             0       1     3  0102ff\n");
}

TEST_F(FormatTest, colour_wraps_only_the_channel)
{
	const ByteVector bytes = made_record(ZEM_CHANNEL_TRACE, "x", kTime);
	EXPECT_EQ(format_line(as_record(bytes), Colour::kOn),
		  "2023-11-14 22:13:20.123456  \x1b[32mtrace\x1b[0m          0       1     1  "
		  "\"x\"\n");
}

TEST_F(FormatTest, kmem_says_that_it_is_opaque)
{
	const ByteVector bytes = made_record(ZEM_CHANNEL_KMEM, std::string(864, '\xab'), kTime);
	EXPECT_EQ(format_line(as_record(bytes), Colour::kOff),
		  "2023-11-14 22:13:20.123456  kmem           0       1   864  opaque block of 864 "
		  "bytes: abababab abababab abababab abababab...\n");
}

TEST_F(FormatTest, a_payload_of_another_size_is_shown_as_it_is_with_a_word)
{
	const ByteVector text = made_record(ZEM_CHANNEL_KMEM, "note", kTime);
	EXPECT_EQ(format_line(as_record(text), Colour::kOff),
		  "2023-11-14 22:13:20.123456  kmem           0       1     4  not the usual 864 "
		  "bytes: \"note\"\n");
	const ByteVector data = made_record(ZEM_CHANNEL_SVP, "\x01\x02", kTime);
	EXPECT_EQ(format_line(as_record(data), Colour::kOff),
		  "2023-11-14 22:13:20.123456  svp            0       1     2  not the usual 456 "
		  "bytes: 0102\n");
	const auto object = nlohmann::json::parse(format_json(as_record(data)));
	EXPECT_EQ(object["decode_error"], "not the usual 456 bytes");
	EXPECT_EQ(object["payload_hex"], "0102");
	EXPECT_FALSE(object.contains("decoded"));
}

TEST_F(FormatTest, json_has_the_header_and_the_text)
{
	const ByteVector bytes = made_record(ZEM_CHANNEL_TEST, "say \"hi\"\n", kTime);
	EXPECT_EQ(format_json(as_record(bytes)),
		  R"({"type":"record","time_ns":"1700000000123456789",)"
		  R"("time":"2023-11-14T22:13:20.123456789Z",)"
		  R"("channel":"test","channel_id":11,"sub_type":0,"train_number":1,)"
		  R"("payload_bytes":9,"payload_text":"say \"hi\"\u000a"})"
		  "\n");
}

TEST_F(FormatTest, json_has_the_bytes_of_a_payload_once)
{
	const auto members = [](std::uint8_t channel, std::size_t size, PayloadHex hex) {
		const ByteVector bytes = made_record(channel, std::string(size, '\x01'), kTime);
		const auto object = nlohmann::json::parse(JsonStream(hex).record(as_record(bytes)));
		std::string names;
		for (const char *name : {"decoded", "decode_error", "payload_text", "payload_hex"})
			names += object.contains(name) ? std::string(name) + " " : "";
		return names;
	};
	EXPECT_EQ(members(ZEM_CHANNEL_CPU, 24, PayloadHex::kOthers), "decoded ");
	EXPECT_EQ(members(ZEM_CHANNEL_CPU, 24, PayloadHex::kAll), "decoded payload_hex ");
	EXPECT_EQ(members(ZEM_CHANNEL_CPU, 23, PayloadHex::kOthers), "decode_error payload_hex ");
	EXPECT_EQ(members(ZEM_CHANNEL_KMEM, 864, PayloadHex::kOthers), "payload_hex ");
	EXPECT_EQ(members(ZEM_CHANNEL_GPU, 5, PayloadHex::kOthers), "payload_hex ");
	EXPECT_EQ(members(ZEM_CHANNEL_GPU, 0, PayloadHex::kOthers), "payload_text ");
	EXPECT_EQ(members(ZEM_CHANNEL_GPU, 0, PayloadHex::kAll), "payload_hex ");
}

TEST_F(FormatTest, the_times_of_records_in_one_stream_follow_their_seconds)
{
	JsonStream json(PayloadHex::kOthers);
	TextFormat text(Colour::kOff);
	const auto times = [&](std::uint64_t time) {
		const ByteVector bytes = made_record(ZEM_CHANNEL_TEST, "x", time);
		const auto object = nlohmann::json::parse(json.record(as_record(bytes)));
		return std::string(text.line(as_record(bytes)).substr(0, 26)) + " " +
		       object["time"].get<std::string>();
	};
	EXPECT_EQ(times(kTime), "2023-11-14 22:13:20.123456 2023-11-14T22:13:20.123456789Z");
	EXPECT_EQ(times(kTime + 1'000),
		  "2023-11-14 22:13:20.123457 2023-11-14T22:13:20.123457789Z");
	EXPECT_EQ(times(kTime + 1'000'000'000),
		  "2023-11-14 22:13:21.123456 2023-11-14T22:13:21.123456789Z");
	EXPECT_EQ(times(5), "1970-01-01 00:00:00.000000 1970-01-01T00:00:00.000000005Z");
	EXPECT_EQ(times(kTime), "2023-11-14 22:13:20.123456 2023-11-14T22:13:20.123456789Z");
}

TEST_F(FormatTest, json_of_packages_leaves_out_lines_of_another_form)
{
	constexpr std::string_view kLines = "10050 com.example.app\nx y\n\n10051\n10052 \xff";
	const Mark mark = {MarkKind::kPackages, 5, std::as_bytes(std::span(kLines))};
	EXPECT_EQ(JsonStream(PayloadHex::kOthers).mark(mark),
		  R"({"type":"packages","time_ns":"5","package_list":[)"
		  R"({"uid":10050,"package":"com.example.app"},{"uid":10052,"package":"\\xff"}]})"
		  "\n");
}

TEST_F(FormatTest, json_of_cpus)
{
	const CpuDescription cpus[] = {{0, 0, 325, 0}, {7, 2, 1024, 0}};
	const Mark mark = {MarkKind::kCpus, 5, std::as_bytes(std::span(cpus))};
	EXPECT_EQ(JsonStream(PayloadHex::kOthers).mark(mark),
		  R"({"type":"cpus","time_ns":"5","cpu_list":[)"
		  R"({"cpu":0,"cluster":0,"capacity":325},{"cpu":7,"cluster":2,"capacity":1024}]})"
		  "\n");
}

TEST_F(FormatTest, the_largest_numbers_survive)
{
	zem_record_header header = made_header(ZEM_CHANNEL_TEST, 0, UINT64_MAX);
	header.train_number = UINT32_MAX;
	const ByteVector bytes = made_record(header, "");
	const auto object = nlohmann::json::parse(format_json(as_record(bytes)));
	EXPECT_EQ(object["time_ns"], "18446744073709551615");
	EXPECT_EQ(object["train_number"].get<std::uint32_t>(), UINT32_MAX);
	EXPECT_EQ(object["payload_text"], "");
}

TEST_F(FormatTest, the_summary_of_a_clean_run)
{
	Counters counters;
	counters.records = 3;
	counters.bytes = 120;
	counters.hand_backs = 2;
	counters.notifications = 1;
	counters.channels[ZEM_CHANNEL_TEST] = {3, 120};
	const ModuleFiles files;
	EXPECT_EQ(format_summary(counters, {3, 0, 0}, std::chrono::seconds(20),
				 LossMeter(files.counters())),
		  "3 records, 120 bytes, 0 lost, 0 gaps in 20.0 s\n"
		  "2 hand-backs, 1 notifications\n"
		  "in the kernel: 0 records pushed, 0 overwritten, 0 refused, "
		  "0 too large, 0 dropped\n"
		  "  test                3 records          120 bytes\n");
}

TEST_F(FormatTest, the_summary_of_a_run_with_losses_says_so)
{
	Counters counters;
	counters.records = 3;
	counters.lost_bytes = 44;
	counters.gaps = 2;
	const ModuleFiles files;
	EXPECT_EQ(format_summary(counters, {1, 2, 0}, std::chrono::milliseconds(250),
				 LossMeter(files.counters())),
		  "3 records, 0 bytes, 44 lost, 2 gaps in 0.2 s\n"
		  "0 hand-backs, 0 notifications\n"
		  "in the kernel: 0 records pushed, 0 overwritten, 0 refused, "
		  "0 too large, 0 dropped\n"
		  "1 records kept, 2 left out as asked\n"
		  "the records are not complete: 44 bytes lost in 2 gaps\n");
}

TEST_F(FormatTest, the_summary_has_what_was_dropped_and_what_was_not_written)
{
	Counters counters;
	counters.records = 10;
	const ModuleFiles files;
	const std::string summary = format_summary(counters, {3, 1, 4}, std::chrono::seconds(1),
						   LossMeter(files.counters()));
	EXPECT_NE(summary.find("3 records kept, 1 left out as asked\n"), std::string::npos);
	EXPECT_NE(summary.find("the records are not complete: 4 records dropped because the output "
			       "was too slow\n"
			       "the records are not complete: 2 records were not written\n"),
		  std::string::npos)
		<< summary;
}

TEST_F(FormatTest, the_summary_has_what_the_kernel_lost_meanwhile)
{
	const ModuleFiles files;
	files.count("records_pushed", 100);
	files.count("records_dropped", 7);
	LossMeter loss(files.counters());
	files.count("records_pushed", 150);
	files.count("records_overwritten", 20);
	files.count("records_dropped", 10);
	files.count("notify_timeouts", 4);
	loss.update();
	EXPECT_EQ(format_summary({}, {}, std::chrono::seconds(1), loss),
		  "0 records, 0 bytes, 0 lost, 0 gaps in 1.0 s\n"
		  "0 hand-backs, 0 notifications\n"
		  "in the kernel: 50 records pushed, 20 overwritten, 0 refused, "
		  "0 too large, 3 dropped, "
		  "4 notifications unanswered in time\n"
		  "the records are not complete: 23 records lost in the kernel\n");
}

TEST_F(FormatTest, the_summary_does_not_take_unknown_losses_for_none)
{
	EXPECT_EQ(format_summary({}, {}, std::chrono::seconds(1), LossMeter("/nowhere/counters")),
		  "0 records, 0 bytes, 0 lost, 0 gaps in 1.0 s\n"
		  "0 hand-backs, 0 notifications\n"
		  "the kernel's losses are not known: /nowhere/counters does not have all "
		  "counters\n");
}

TEST_F(FormatTest, the_summary_says_that_the_counters_started_over)
{
	const ModuleFiles files;
	files.count("records_pushed", 100);
	LossMeter loss(files.counters());
	files.count("records_pushed", 3);
	loss.update();
	EXPECT_EQ(format_summary({}, {}, std::chrono::seconds(1), loss),
		  "0 records, 0 bytes, 0 lost, 0 gaps in 1.0 s\n"
		  "0 hand-backs, 0 notifications\n"
		  "in the kernel: 3 records pushed, 0 overwritten, 0 refused, "
		  "0 too large, 0 dropped\n"
		  "the kernel's counters started over, so its losses are not fully known\n");
}

} // namespace zemctl
