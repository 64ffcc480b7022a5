// SPDX-License-Identifier: GPL-2.0
/*
 * The selection of records by what they are about.
 */
#include "decode/filter.h"

#include <cstring>

#include <gtest/gtest.h>

#include "made_records.h"
#include "records/channels.h"

namespace zemctl {

namespace {

template <typename Payload>
ByteVector record_of(std::uint8_t channel, const Payload &payload, std::uint64_t time = 1000)
{
	return made_record(
		channel,
		std::string_view(reinterpret_cast<const char *>(&payload), sizeof(payload)), time);
}

ByteVector load_record()
{
	zem_load load = {};
	load.pid = 42;
	load.ppid = 40;
	std::strcpy(load.comm, "RenderThread");
	std::strcpy(load.pkg, "com.example.app");
	return record_of(ZEM_CHANNEL_LOAD, load);
}

ByteVector svp_record()
{
	zem_svp svp = {};
	svp.pid = 52;
	svp.tgid = 50;
	std::strcpy(svp.thread_name, "binder:50_1");
	return record_of(ZEM_CHANNEL_SVP, svp);
}

ByteVector kio_record()
{
	zem_kio kio = {};
	kio.io_top[0].uid = 10123;
	kio.io_top[9].uid = 1000;
	kio.io_top[4].uid = 0;
	kio.io_top[4].read_calls = 1;
	kio.iowait_top[0].uid = 2000;
	kio.iowait_top[9].uid = 3000;
	return record_of(ZEM_CHANNEL_KIO, kio);
}

ByteVector cgroup_record()
{
	zem_cgroup groups = {};
	std::strcpy(groups.entries[0].name, "all");
	std::strcpy(groups.entries[6].name, "svp");
	return record_of(ZEM_CHANNEL_CGROUP, groups);
}

/* Returns the channels of the made records that pass. */
std::string passing(const Criteria &criteria)
{
	const Filter filter(criteria);
	std::string names;
	for (const ByteVector &bytes : {load_record(), svp_record(), kio_record(), cgroup_record(),
					made_record(ZEM_CHANNEL_TEST, "text", 1000)}) {
		const Record record = as_record(bytes);
		if (filter.accepts(record))
			names += (names.empty() ? "" : " ") +
				 std::string(channel_name(record.header.channel));
	}
	return names;
}

} // namespace

TEST(Filter, without_criteria_all_records_pass)
{
	EXPECT_EQ(passing({}), "load svp kio cgroup test");
}

TEST(Filter, channels)
{
	EXPECT_EQ(passing({.channels = 1U << ZEM_CHANNEL_SVP | 1U << ZEM_CHANNEL_TEST}),
		  "svp test");
}

TEST(Filter, pids_of_threads_and_of_processes)
{
	EXPECT_EQ(passing({.pids = {42}}), "load");
	EXPECT_EQ(passing({.pids = {40}}), "load");
	EXPECT_EQ(passing({.pids = {50}}), "svp");
	EXPECT_EQ(passing({.pids = {42, 52}}), "load svp");
	EXPECT_EQ(passing({.pids = {0}}), "");
}

TEST(Filter, names_of_tasks_are_patterns)
{
	EXPECT_EQ(passing({.comms = {"RenderThread"}}), "load");
	EXPECT_EQ(passing({.comms = {"binder:*", "Render?hread"}}), "load svp");
	EXPECT_EQ(passing({.comms = {"render*"}}), "");
	EXPECT_EQ(passing({.comms = {"*"}}), "load svp") << "only these have a name";
}

TEST(Filter, packages)
{
	EXPECT_EQ(passing({.packages = {"com.example.*"}}), "load");
	EXPECT_EQ(passing({.packages = {""}}), "svp") << "a task without a package";
}

TEST(Filter, uids_in_both_lists)
{
	for (const std::uint32_t uid : {10123U, 1000U, 2000U, 3000U})
		EXPECT_EQ(passing({.uids = {uid}}), "kio") << uid;
	EXPECT_EQ(passing({.uids = {4000}}), "");
	EXPECT_EQ(passing({.uids = {0}}), "kio") << "UID 0 has a rank";
}

TEST(Filter, a_vacant_rank_is_no_uid)
{
	const ByteVector bytes = record_of(ZEM_CHANNEL_KIO, zem_kio{});
	EXPECT_FALSE(Filter({.uids = {0}}).accepts(as_record(bytes)));
}

TEST(Filter, control_groups)
{
	EXPECT_EQ(passing({.cgroups = {"svp"}}), "cgroup");
	EXPECT_EQ(passing({.cgroups = {"top"}}), "");
}

TEST(Filter, all_criteria_must_be_met)
{
	EXPECT_EQ(passing({.channels = 1U << ZEM_CHANNEL_SVP, .pids = {42}}), "");
	EXPECT_EQ(passing({.pids = {42}, .comms = {"Render*"}}), "load");
	EXPECT_EQ(passing({.pids = {42}, .comms = {"binder*"}}), "");
	EXPECT_EQ(passing({.uids = {1000}, .pids = {42}}), "");
}

TEST(Filter, the_start_is_included_and_the_end_is_not)
{
	EXPECT_EQ(passing({.since = 1000}), "load svp kio cgroup test");
	EXPECT_EQ(passing({.since = 1001}), "");
	EXPECT_EQ(passing({.until = 1001}), "load svp kio cgroup test");
	EXPECT_EQ(passing({.until = 1000}), "");
}

TEST(Filter, payloads_of_another_size_are_about_nothing)
{
	ByteVector bytes = made_record(ZEM_CHANNEL_LOAD, std::string(sizeof(zem_load) - 1, '*'), 1);
	EXPECT_FALSE(Filter({.comms = {"*"}}).accepts(as_record(bytes)));
	EXPECT_TRUE(Filter({.channels = 1U << ZEM_CHANNEL_LOAD}).accepts(as_record(bytes)));
}

} // namespace zemctl
