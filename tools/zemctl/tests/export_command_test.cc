// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl export to comma-separated values and JSON, read by Python's csv module.
 */
#include <fstream>
#include <regex>

#include "capture_fixture.h"
#include "command_fixture.h"
#include "every_record.h"

namespace zemctl {

namespace {

constexpr std::string_view kCsvPrefix = "record,time_ns,time,train_number,sub_type,";

class ExportCommandTest : public CommandTest {
protected:
	/* Makes a capture of @records, which are @number. */
	void capture(const ByteVector &records, std::size_t number) const
	{
		show_records(records);
		ASSERT_EQ(run("record -o capture --records " + std::to_string(number)).status, 0);
	}
	void put_capture(const ByteVector &bytes) const
	{
		put("capture", {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
	}
	/* Returns what differs between the tables and the JSON of the same records. */
	std::string differences(const std::string &selection) const
	{
		return shell("$zemctl export capture --format csv -o tables " + selection +
			     " && $zemctl export capture --format json " + selection +
			     " >stream && " ZEMCTL_CSV_CHECK " tables stream")
			.err;
	}
};

} // namespace

TEST_F(ExportCommandTest, tables_have_every_value_of_every_record_under_its_name_in_json)
{
	for (const std::uint8_t seed : {std::uint8_t{1}, std::uint8_t{200}}) {
		capture(record_of_every_kind(seed), kKinds);
		EXPECT_EQ(differences(""), "");
		EXPECT_EQ(objects_of(get("stream"), "record").size(), kKinds);
	}
}

TEST_F(ExportCommandTest, values_with_commas_quotes_and_line_ends_are_quoted)
{
	zem_load load = {};
	std::strcpy(load.comm, "a,\"b\"\r\n\xff\\");
	capture(made_record(ZEM_CHANNEL_LOAD, bytes_of(load)) +
			made_record(ZEM_CHANNEL_WIFI, "x,\"y\"\nz") +
			made_record(ZEM_CHANNEL_GPU, "plain"),
		3);
	EXPECT_EQ(differences(""), "");
	EXPECT_NE(get("tables/load.csv").find(",\"a,\"\"b\"\"\r\n\\xff\\\\\",,"),
		  std::string::npos);
	EXPECT_NE(get("tables/other.csv").find(",wifi,7,\"x,\"\"y\"\"\nz\",\n"), std::string::npos);
	EXPECT_NE(get("tables/other.csv").find(",gpu,5,plain,\n"), std::string::npos);
}

TEST_F(ExportCommandTest, the_check_finds_what_differs)
{
	capture(record_of_every_kind(1), kKinds);
	ASSERT_EQ(differences(""), "");
	const auto with = [&](const std::string &edit) {
		return shell("cp -r tables changed; " + edit +
			     "; " ZEMCTL_CSV_CHECK " changed stream")
			.err;
	};
	EXPECT_EQ(with(":"), "");
	EXPECT_NE(with("sed -i '2s/,1,/,2,/' changed/load.csv"), "");
	EXPECT_NE(with("sed -i 1s/runtime_ns/runtime_us/ changed/load.csv"), "");
	EXPECT_NE(with("sed -i '$p' changed/cgroup.csv"), "");
	EXPECT_NE(with("sed -i '$d' changed/sched.csv"), "");
	EXPECT_NE(with("sed -i '$d' changed/loss.csv"), "");
}

TEST_F(ExportCommandTest, columns_are_those_of_the_documents)
{
	capture(made_record(ZEM_CHANNEL_WIFI, "text"), 1);
	ASSERT_EQ(run("export capture --format csv -o tables").status, 0);
	std::ifstream document(ZEMCTL_DOCS "/export.md");
	const std::string text(std::istreambuf_iterator<char>(document), {});
	std::size_t files = 0;
	for (const auto &file : fs::directory_iterator(root / "tables")) {
		const std::string name = file.path().filename();
		const std::string content = get("tables/" + name);
		const std::string heading = content.substr(0, content.find('\n'));
		EXPECT_NE(text.find("`" + name + "`"), std::string::npos) << name;
		std::istringstream columns(heading.starts_with(kCsvPrefix) ?
						   heading.substr(kCsvPrefix.size()) :
						   heading);
		/* The elements of a list are documented as counts_0 to counts_9. */
		for (std::string column; std::getline(columns, column, ',');) {
			const std::string documented =
				std::regex_replace(column, std::regex("_[0-9]+"), "_0");
			EXPECT_NE(text.find("`" + documented + "`"), std::string::npos)
				<< name << ": " << column;
		}
		files++;
	}
	EXPECT_EQ(files, 14u);
}

TEST_F(ExportCommandTest, json_is_that_of_dump)
{
	capture(record_of_every_kind(1), kKinds);
	const Result exported = run("export capture --format json");
	EXPECT_EQ(exported.out, run("dump --json capture").out);
	EXPECT_EQ(exported.err, "");
	EXPECT_EQ(run("export capture --format json -o file").out, "");
	EXPECT_EQ(get("file"), exported.out);
	EXPECT_EQ(shell("$zemctl export - --format json <capture").out, exported.out);
}

TEST_F(ExportCommandTest, metrics_are_those_of_all_records)
{
	capture(record_of_every_kind(1), kKinds);
	const Result result = run("export capture --format openmetrics");
	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.out.find("zem_records_total{channel=\"svp\"} 2"), std::string::npos);
	EXPECT_TRUE(result.out.ends_with("# EOF\n"));
	EXPECT_EQ(run("export capture --format openmetrics --pid 1").status, 2);
	EXPECT_EQ(run("export capture --format openmetrics --strict").status, 2);
}

TEST_F(ExportCommandTest, selects_as_dump_does)
{
	capture(record_of_every_kind(1) + made_record(ZEM_CHANNEL_WIFI, "late", 5'000'000'000),
		kKinds + 1);
	for (const char *selection :
	     {"--channel load,svp", "--pid 513", "--uid 60137", "--comm \"\"", "--package \"*\"",
	      "--cgroup \"*\"", "--since @4 --utc", "--until @4"}) {
		EXPECT_EQ(differences(selection), "") << selection;
		EXPECT_EQ(objects_of(get("stream"), "record").size(),
			  objects_of(run(std::string("dump --json capture ") + selection).out,
				     "record")
				  .size())
			<< selection;
	}
	EXPECT_EQ(differences("--channel load --until @4"), "");
	EXPECT_EQ(objects_of(get("stream"), "record").size(), 1u);
}

TEST_F(ExportCommandTest, losses_have_a_table_and_a_status)
{
	CaptureInMemory memory;
	memory.writer.write(as_record(made_record(ZEM_CHANNEL_WIFI, "before", 5)));
	memory.writer.note_losses({1, 70, 6, 240, 3});
	memory.writer.write(as_record(made_record(ZEM_CHANNEL_WIFI, "after", 6)));
	memory.writer.end_block();
	put_capture(memory.content());
	const Result result = run("export capture --format csv -o tables");
	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.err.find("zemctl: gap: 6 records were dropped"), std::string::npos);
	const std::string loss = get("tables/loss.csv");
	EXPECT_NE(loss.find("\n1,"), std::string::npos);
	EXPECT_NE(loss.find(",gap,70,9,,\"gap: 6 records were dropped"), std::string::npos);
	EXPECT_EQ(run("export capture --format csv -o tables --strict").status, 1);
	EXPECT_NE(get("tables/loss.csv").find(",end,,,,\"unfinished, "), std::string::npos)
		<< get("tables/loss.csv");
}

TEST_F(ExportCommandTest, refuses_what_it_cannot_write)
{
	capture(made_record(ZEM_CHANNEL_WIFI, "text"), 1);
	EXPECT_EQ(run("export capture").status, 2);
	EXPECT_EQ(run("export capture --format xls").status, 2);
	EXPECT_EQ(run("export capture --format csv").err,
		  "zemctl: csv has several files: name a folder with -o\n");
	EXPECT_EQ(run("export nothing --format json").err,
		  "zemctl: nothing: No such file or directory\n");
	EXPECT_EQ(run("export capture --format perfetto -o no/such").err,
		  "zemctl: no/such: No such file or directory\n");
	EXPECT_EQ(run("export capture --format csv -o capture").status, 1);
	EXPECT_EQ(run("export capture --format json -o /dev/full").err,
		  "zemctl: /dev/full: No space left on device\n");
}

} // namespace zemctl
