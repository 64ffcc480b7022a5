// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl dump --summary: exact texts, and the JSON.
 */
#include "commands/record_summary.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kTime = 1'700'000'000'000'000'000;
constexpr std::uint64_t kSecond = 1'000'000'000;

class RecordSummaryTest : public CommandTest {
protected:
	RecordSummary summary_of_three_records() const
	{
		RecordSummary summary;
		/* The second record is the earliest one. */
		for (const auto &bytes : {made_record(ZEM_CHANNEL_TEST, "1234", kTime + kSecond),
					  made_record(ZEM_CHANNEL_GPU, "12", kTime),
					  made_record(ZEM_CHANNEL_TEST, "", kTime + 4 * kSecond)})
			summary.count(as_record(bytes));
		return summary;
	}
};

} // namespace

TEST_F(RecordSummaryTest, channels_have_their_records_bytes_and_rates)
{
	EXPECT_EQ(summary_of_three_records().text(StreamEnd::kFinished, Calendar::Zone::kUtc),
		  "3 records, 102 bytes in 4.000 s\n"
		  "2023-11-14 22:13:20.000000+00:00 to 2023-11-14 22:13:24.000000+00:00\n"
		  "CHANNEL         RECORDS           BYTES     RECORDS/s         BYTES/s\n"
		  "gpu                   1              34           0.2             8.5\n"
		  "test                  2              68           0.5            17.0\n"
		  "no gaps\n"
		  "the capture is complete\n");
}

TEST_F(RecordSummaryTest, losses_are_summed_and_unknown_ones_are_counted)
{
	RecordSummary summary = summary_of_three_records();
	summary.count(Gap{10, std::nullopt});
	summary.count(Gap{std::nullopt, 5});
	summary.count(Gap{20, 1});
	summary.count(Gap{});
	const std::string text = summary.text(StreamEnd::kUnfinished, Calendar::Zone::kUtc);
	EXPECT_NE(text.find("\n4 gaps: 30 bytes and 6 records lost, 1 gaps of unknown size\n"
			    "the capture was not finished, its end may be missing\n"),
		  std::string::npos)
		<< text;
	const auto object = nlohmann::json::parse(summary.json(StreamEnd::kUnfinished));
	EXPECT_EQ(object["gaps"], 4);
	EXPECT_EQ(object["unknown_gaps"], 1);
	EXPECT_EQ(object["lost_bytes"], 30);
	EXPECT_EQ(object["lost_records"], 6);
	EXPECT_EQ(object["reason"], "unfinished");
}

TEST_F(RecordSummaryTest, a_capture_without_records_has_no_times_and_no_rates)
{
	EXPECT_EQ(RecordSummary().text(StreamEnd::kFinished, Calendar::Zone::kUtc),
		  "0 records, 0 bytes in 0.000 s\n"
		  "CHANNEL         RECORDS           BYTES     RECORDS/s         BYTES/s\n"
		  "no gaps\n"
		  "the capture is complete\n");
	const auto object = nlohmann::json::parse(RecordSummary().json(StreamEnd::kFinished));
	EXPECT_EQ(object["first_time_ns"], nullptr);
	EXPECT_EQ(object["span_ns"], 0);
	EXPECT_EQ(object["records_per_second"], nullptr);
	EXPECT_EQ(object["channels"], nlohmann::json::array());
}

TEST_F(RecordSummaryTest, one_record_has_no_rate)
{
	RecordSummary summary;
	const ByteVector bytes = made_record(ZEM_CHANNEL_GPU, "12", kTime);
	summary.count(as_record(bytes));
	const std::string text = summary.text(StreamEnd::kFinished, Calendar::Zone::kUtc);
	EXPECT_NE(text.find("             34             -               -\n"), std::string::npos)
		<< text;
	EXPECT_EQ(nlohmann::json::parse(summary.json(StreamEnd::kFinished))["bytes_per_second"],
		  nullptr);
}

TEST_F(RecordSummaryTest, as_json)
{
	const auto object =
		nlohmann::json::parse(summary_of_three_records().json(StreamEnd::kFinished));
	EXPECT_EQ(object["schema"], "zemctl.summary");
	EXPECT_EQ(object["records"], 3);
	EXPECT_EQ(object["bytes"], 102);
	EXPECT_EQ(object["first_time_ns"], "1700000000000000000");
	EXPECT_EQ(object["last_time_ns"], "1700000004000000000");
	EXPECT_EQ(object["span_ns"], 4'000'000'000);
	EXPECT_EQ(object["bytes_per_second"], 25.5);
	EXPECT_EQ(object["channels"][1], nlohmann::json({{"channel", "test"},
							 {"channel_id", 11},
							 {"records", 2},
							 {"bytes", 68},
							 {"records_per_second", 0.5},
							 {"bytes_per_second", 17.0}}));
}

TEST_F(RecordSummaryTest, dump_sums_up_what_it_would_show)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "hello", kTime) +
		     made_record(ZEM_CHANNEL_WIFI, "bye", kTime + kSecond));
	run("record -o capture --records 2");
	EXPECT_EQ(run("dump --summary --channel wifi capture").out,
		  "1 records, 35 bytes in 0.000 s\n"
		  "2023-11-14 22:13:21.000000+00:00 to 2023-11-14 22:13:21.000000+00:00\n"
		  "CHANNEL         RECORDS           BYTES     RECORDS/s         BYTES/s\n"
		  "wifi                  1              35             -               -\n"
		  "no gaps\n"
		  "the capture is complete\n");
	EXPECT_EQ(nlohmann::json::parse(run("dump --summary --json capture").out)["records"], 2);
	EXPECT_EQ(run("dump --summary --full capture").status, 2);
	EXPECT_EQ(run("watch --summary").status, 2);
}

} // namespace zemctl
