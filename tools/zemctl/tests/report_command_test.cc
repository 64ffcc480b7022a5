// SPDX-License-Identifier: GPL-2.0
/*
 * The data of zemctl report. tests/report opens the page in a browser.
 */
#include "command_fixture.h"
#include "every_record.h"
#include "report/interval_table.h"

namespace zemctl {

namespace {

class ReportCommandTest : public CommandTest {
protected:
	/* Returns the data in the page of a report on @records, which are @number. */
	nlohmann::json data_of(const ByteVector &records, std::size_t number,
			       const std::string &options = "") const
	{
		show_records(records);
		run("record -o capture --records " + std::to_string(number));
		const Result result = run("report capture -o page.html " + options);
		EXPECT_EQ(result.err, "");
		EXPECT_EQ(result.status, 0);
		const std::string page = get("page.html");
		const std::string begin = "<script type=\"application/json\" id=\"data\">";
		const std::size_t at = page.find(begin) + begin.size();
		return nlohmann::json::parse(page.substr(at, page.find("</script>", at) - at));
	}
};

zem_load load_with_name(const char *name, std::uint64_t runtime)
{
	zem_load load = {};
	load.pid = 7;
	load.ppid = 7;
	load.runtime = runtime;
	std::strcpy(load.comm, name);
	return load;
}

} // namespace

TEST_F(ReportCommandTest, has_all_records_of_a_capture)
{
	const auto data = data_of(record_of_every_kind(1), kKinds);
	EXPECT_EQ(data["records"], kKinds);
	EXPECT_EQ(data["end"], "finished");
	std::size_t records = 0;
	for (const auto &channel : data["channels"])
		records += channel["records"].get<std::size_t>();
	EXPECT_EQ(records, kKinds);
	for (const char *table : {"rate", "cpu", "load", "svp", "groups", "disks", "uids", "sched"})
		EXPECT_FALSE(data["tables"][table].empty()) << table;
}

TEST_F(ReportCommandTest, a_name_cannot_end_the_data)
{
	const auto data = data_of(
		made_record(ZEM_CHANNEL_LOAD, bytes_of(load_with_name("</script>\xff", 5000))), 1);
	EXPECT_EQ(data["tasks"]["0"]["comm"], "</script>\\xff");
	EXPECT_EQ(data["tables"]["load"], nlohmann::json::parse("[[0,1,[0,5,0]]]"));
}

TEST_F(ReportCommandTest, selects_records)
{
	const ByteVector records =
		made_record(ZEM_CHANNEL_LOAD, bytes_of(load_with_name("one", 1))) +
		made_record(ZEM_CHANNEL_LOAD, bytes_of(load_with_name("two", 1)));
	EXPECT_EQ(data_of(records, 2, "--comm two")["records"], 1);
	EXPECT_EQ(data_of(records, 2, "--channel svp")["records"], 0);
}

TEST_F(ReportCommandTest, needs_nothing_but_the_page)
{
	data_of(made_record(ZEM_CHANNEL_WIFI, "x"), 1);
	const std::string page = get("page.html");
	EXPECT_NE(page.find("default-src 'none'"), std::string::npos);
	EXPECT_EQ(page.find("src=\""), std::string::npos);
	EXPECT_EQ(page.find("@"
			    "CHART"),
		  std::string::npos);
	EXPECT_NE(page.find("uPlot"), std::string::npos);
	EXPECT_TRUE(page.ends_with("</html>\n"));
}

TEST(IntervalTableTest, records_of_half_a_second_are_a_row)
{
	IntervalTable<1> table;
	table.add(1'000'000'000, 1, {2});
	table.add(1'400'000'000, 2, {3});
	table.add(1'400'000'000, 1, {4});
	table.add(3'000'000'000, 1, {5});
	ASSERT_EQ(table.rows().size(), 2u);
	EXPECT_EQ(table.rows()[0].values.at(1)[0], 6u);
	EXPECT_EQ(table.rows()[0].values.at(2)[0], 3u);
	EXPECT_EQ(table.rows()[1].values.at(1)[0], 5u);
}

TEST(IntervalTableTest, many_intervals_are_merged_without_loss)
{
	constexpr std::uint64_t kIntervals = 10'000;
	IntervalTable<2> table;
	for (std::uint64_t i = 0; i < kIntervals; i++)
		table.add(i * 1'000'000'000, static_cast<std::uint32_t>(i % 3), {i, 1});
	EXPECT_LE(table.rows().size(), 1200u);
	EXPECT_GT(table.rows().size(), 500u);
	std::uint64_t intervals = 0;
	std::uint64_t last = 0;
	for (const auto &row : table.rows()) {
		EXPECT_TRUE(intervals == 0 || row.time > last);
		EXPECT_EQ(row.time, intervals * 1'000'000'000);
		last = row.time;
		intervals += row.intervals;
	}
	EXPECT_EQ(intervals, kIntervals);
	std::uint64_t sum = 0;
	for (const auto &[thing, values] : table.totals())
		sum += values[0];
	EXPECT_EQ(sum, kIntervals * (kIntervals - 1) / 2);
}

} // namespace zemctl
