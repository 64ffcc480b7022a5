// SPDX-License-Identifier: GPL-2.0
/*
 * The columns of records, their headings, and the edge of the terminal.
 */
#include "decode/fields.h"

#include "command_fixture.h"
#include "decode/format.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kFieldsTime = 1'700'000'000'000'000'000; /* 2023-11-14 22:13:20 UTC */

template <typename Payload>
ByteVector fields_record_of(std::uint8_t channel, const Payload &payload)
{
	return made_record(channel,
			   std::string_view(reinterpret_cast<const char *>(&payload),
					    sizeof(payload)),
			   kFieldsTime);
}

ByteVector task_record(const char *comm, const char *package)
{
	zem_load load = {};
	load.pid = 1234;
	load.ppid = 1200;
	std::strcpy(load.comm, comm);
	std::strcpy(load.pkg, package);
	return fields_record_of(ZEM_CHANNEL_LOAD, load);
}

ByteVector users_record(std::initializer_list<std::uint32_t> uids)
{
	zem_kio kio = {};
	std::size_t rank = 0;
	for (const std::uint32_t uid : uids)
		kio.io_top[rank++].uid = uid;
	return fields_record_of(ZEM_CHANNEL_KIO, kio);
}

} // namespace

class FieldsTest : public CommandTest {
protected:
	void capture(const ByteVector &records, int count) const
	{
		show_records(records);
		ASSERT_EQ(run("record -o capture --records " + std::to_string(count)).status, 0);
	}
};

TEST_F(FieldsTest, are_shown_in_the_order_in_which_they_are_named)
{
	capture(task_record("surface", "com.example.app") + made_record(ZEM_CHANNEL_TEST, "hi"), 2);
	EXPECT_EQ(run("dump capture --fields comm,pid,tgid --fields channel").out,
		  "COMM             PID      TGID     CHANNEL\n"
		  "surface          1234     1200     load\n"
		  "-                -        -        test\n");
	EXPECT_EQ(run("dump capture --fields len,payload,sub,train --channel test").out,
		  " LEN  PAYLOAD  SUB   TRAIN\n"
		  "   2  \"hi\"    0       1\n");
	EXPECT_EQ(run("dump capture --fields package,uid --channel load").out,
		  "PACKAGE                         UID\n"
		  "com.example.app                 -\n");
}

TEST_F(FieldsTest, of_several_subjects_are_a_list)
{
	capture(users_record({1000, 10123, 10200}), 1);
	EXPECT_EQ(run("dump capture --fields uid,channel").out, "UID         CHANNEL\n"
								"1000,10123,10200  kio\n");
}

TEST_F(FieldsTest, of_groups_are_the_groups_of_the_record)
{
	zem_cgroup groups = {};
	std::strcpy(groups.entries[0].name, "root");
	std::strcpy(groups.entries[1].name, "top");
	capture(fields_record_of(ZEM_CHANNEL_CGROUP, groups), 1);
	EXPECT_EQ(run("dump capture --fields cgroup").out, "CGROUP\nroot,top\n");
}

TEST_F(FieldsTest, show_names_of_any_bytes)
{
	capture(task_record("\x1b[31m\n", "") + task_record("日本", "p"), 2);
	EXPECT_EQ(run("dump capture --fields comm,package").out, "COMM             PACKAGE\n"
								 "\\x1b[31m\\x0a     -\n"
								 "日本             p\n");
}

TEST_F(FieldsTest, must_exist_and_are_no_json)
{
	capture(made_record(ZEM_CHANNEL_TEST, "hi"), 1);
	EXPECT_EQ(run("dump capture --fields pid,colour").status, 2);
	EXPECT_EQ(run("dump capture --fields pid --json").status, 2);
	EXPECT_EQ(run("dump capture --fields pid --summary").status, 2);
}

TEST_F(FieldsTest, are_what_a_pattern_is_compared_with)
{
	capture(task_record("surface", "com.example.app"), 1);
	EXPECT_EQ(run("dump capture --fields comm --grep '^surface$'").out, "COMM\nsurface\n");
	EXPECT_EQ(run("dump capture --fields comm --grep example").out, "COMM\n");
}

TEST_F(FieldsTest, have_a_heading_with_the_offset_of_the_zone)
{
	capture(made_record(ZEM_CHANNEL_TEST, "hi", kFieldsTime), 1);
	const auto heading = [this](const std::string &environment, const std::string &options) {
		return shell(environment + " $zemctl dump capture " + options).out.substr(0, 16);
	};
	EXPECT_EQ(heading("TZ=XYZ-9", ""), "TIME (+09:00)   ");
	EXPECT_EQ(heading("TZ=XYZ3:30", ""), "TIME (-03:30)   ");
	EXPECT_EQ(heading("TZ=XYZ-9", "--utc"), "TIME (+00:00)   ");
	EXPECT_EQ(heading("TZ=XYZ-9", "--fields channel,time").substr(0, 13), "CHANNEL      ");
	EXPECT_NE(shell("TZ=XYZ-9 $zemctl dump capture --summary")
			  .out.find("\n2023-11-15 07:13:20.000000+09:00 to 2023"),
		  std::string::npos);
	EXPECT_NE(shell("TZ=XYZ-9 $zemctl dump capture --summary --utc")
			  .out.find("\n2023-11-14 22:13:20.000000+00:00 to 2023"),
		  std::string::npos);
}

/* In this zone summer ends on 29 October 2023 at 01:00 UTC. */
TEST_F(FieldsTest, have_another_heading_when_the_offset_changes)
{
	constexpr std::uint64_t kChange = 1'698'541'200'000'000'000;
	capture(made_record(ZEM_CHANNEL_TEST, "a", kChange - 2) +
			made_record(ZEM_CHANNEL_TEST, "b", kChange - 1) +
			made_record(ZEM_CHANNEL_TEST, "c", kChange),
		3);
	const std::string zone = "TZ=XYZ-1XYS,M3.5.0,M10.5.0/3";
	EXPECT_EQ(shell(zone + " $zemctl dump capture --fields time,payload").out,
		  "TIME (+02:00)               PAYLOAD\n"
		  "2023-10-29 02:59:59.999999  \"a\"\n"
		  "2023-10-29 02:59:59.999999  \"b\"\n"
		  "TIME (+01:00)               PAYLOAD\n"
		  "2023-10-29 02:00:00.000000  \"c\"\n");
	EXPECT_EQ(shell(zone + " $zemctl dump capture --fields payload").out,
		  "PAYLOAD\n\"a\"\n\"b\"\n\"c\"\n");
	EXPECT_EQ(shell(zone + " $zemctl dump capture --fields payload,time --until @0").out.size(),
		  std::string_view("PAYLOAD  TIME (+02:00)\n").size())
		<< "a heading without records";
}

TEST_F(FieldsTest, end_at_the_edge_of_a_terminal)
{
	capture(made_record(ZEM_CHANNEL_TEST, "a text that is far too long", kFieldsTime), 1);
	EXPECT_EQ(on_terminal(30, "dump capture --fields channel,payload --color never"),
		  "CHANNEL      PAYLOAD\n"
		  "test         \"a text that is …\n");
	EXPECT_EQ(on_terminal(30, "dump capture --fields channel,payload --color always"),
		  "CHANNEL      PAYLOAD\n"
		  "\x1b[33mtest\x1b[0m         \"a text that is …\n");
	EXPECT_EQ(on_terminal(60, "dump capture --fields channel,payload --color never"),
		  "CHANNEL      PAYLOAD\n"
		  "test         \"a text that is far too long\"\n");
	const std::string json = on_terminal(20, "dump capture --json");
	EXPECT_NE(json.find("\"payload_text\":\"a text that is far too long\""), std::string::npos)
		<< json;
}

TEST_F(FieldsTest, are_whole_in_a_pipe)
{
	capture(made_record(ZEM_CHANNEL_TEST, std::string(60, 'x'), kFieldsTime), 1);
	EXPECT_EQ(shell("COLUMNS=20 $zemctl dump capture --fields payload | cat").out,
		  "PAYLOAD\n\"" + std::string(60, 'x') + "\"\n");
}

} // namespace zemctl
