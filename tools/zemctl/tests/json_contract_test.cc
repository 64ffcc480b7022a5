// SPDX-License-Identifier: GPL-2.0
/*
 * The JSON of every command against the schemas in docs/schema. The check also changes each member
 * of the output, and fails if the schema accepts the change.
 */
#include <cstring>
#include <iterator>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"
#include "decode/histogram.h"
#include "decoder_fixture.h"
#include "every_record.h"
#include "fake_kioind.h"
#include "fake_proc.h"

namespace zemctl {

namespace {

class JsonContractTest : public CommandTest {
protected:
	/* Returns the findings on the output of zemctl with @arguments, or "" without findings. */
	std::string findings(const std::string &arguments) const
	{
		const Result made = shell("$zemctl --kioind kioind " + arguments + " >output");
		if (made.status != 0)
			return made.err;
		const Result checked = shell(std::string(ZEMCTL_JSON_CHECK) + " --mutate output");
		return checked.status == 0 ? "" : "json-check:\n" + checked.err;
	}

	std::string findings_of(const std::string &output) const
	{
		put("output", output);
		const Result checked = shell(std::string(ZEMCTL_JSON_CHECK) + " output");
		return checked.status == 0 ? "" : checked.err;
	}
};

} // namespace

TEST_F(JsonContractTest, status)
{
	EXPECT_EQ(findings("status --json"), "");
	put("proc/svp_metrics/svp_metrics_enabled", "1\n");
	fs::remove(root / "shared");
	fs::remove(root / "module/counters/empty_passes");
	EXPECT_EQ(findings("status --json"), "");
}

TEST_F(JsonContractTest, doctor)
{
	put("proc/mounts", "");
	put("proc/2/comm", "kthreadd\n");
	/* Faults are in the output and in the exit status. */
	EXPECT_EQ(findings("doctor --json --seconds 0.001 >made || [ $? = 1 ]; cat made"), "");
	EXPECT_NE(get("output").find("\"severity\":\"fault\""), std::string::npos);
	EXPECT_EQ(findings("doctor --fix --json --seconds 0.001 >made || [ $? = 1 ]; cat made"),
		  "");
	EXPECT_NE(get("output").find("\"mended\":true"), std::string::npos);
}

TEST_F(JsonContractTest, sched)
{
	const CpuCounts counts = {{1, 2, 3}, {UINT64_MAX - 5, 0, 0, 0, 0, 0, 0, 0, 0, 4}};
	for (const SchedHistogram &histogram : kSchedHistograms) {
		std::array<int, 9> bounds;
		std::ranges::copy(histogram.bounds, bounds.begin());
		put("proc/sched_metrics/" + std::string(histogram.counts_view),
		    counts_view("title\n", bounds, counts));
		put("proc/sched_metrics/" + std::string(histogram.time_view),
		    time_view("title\n", {UINT64_MAX, 7'000'000}));
	}
	EXPECT_EQ(findings("sched --json"), "");
	EXPECT_EQ(findings("sched --json --seconds 0.001"), "");
}

TEST_F(JsonContractTest, svp)
{
	auto task = filled<zem_svp>(1);
	std::strcpy(task.thread_name, "\\ \xff \" \x7f");
	std::strcpy(task.package_name, "p");
	put("proc/svp_metrics/svp_metrics", svp_text(task) + svp_text({}));
	EXPECT_EQ(findings("svp --json"), "");
	put("proc/svp_metrics/svp_metrics", "");
	EXPECT_EQ(findings("svp --json"), "");
}

TEST_F(JsonContractTest, load)
{
	put("proc/load_metrics/load_metrics_enabled", "1\n");
	put("proc/load_metrics/load_metrics",
	    load_header(UINT64_MAX, 1, {1, 2}) +
		    load_line(1, 1, "\xff\\", -1, "com.example.app", UINT64_MAX, 5) +
		    load_line(4194304, 0, "", 5, "", 0, 0));
	EXPECT_EQ(findings("load --json --seconds 0.001"), "");
}

TEST_F(JsonContractTest, health)
{
	put("proc/morva_sched_healthinfo/sched_healthinfo_enable", "1\n");
	put("proc/cgroup_metrics/cgroup_metrics", health_interval({1, 2, UINT64_MAX}));
	EXPECT_EQ(findings("health --json --seconds 0.001"), "");
	put("proc/morva_sched_healthinfo/sched_healthinfo",
	    health_report({{UINT64_MAX, 1ULL << 60, 5}}));
	EXPECT_EQ(findings("health --json --total"), "");
}

TEST_F(JsonContractTest, io)
{
	auto kio = filled<zem_kio>(1);
	put("kioind/show1_diskstats", disk_view(kio));
	put("kioind/show2_uid_io", uid_view(kio));
	put("kioind/show3_bio_time", bio_view(kio));
	EXPECT_EQ(findings("io --json"), "");
}

TEST_F(JsonContractTest, watch_and_dump)
{
	show_records(record_of_every_kind(1) + made_record(99, "?"));
	EXPECT_EQ(findings("watch --json --seconds 0.3"), "");
	EXPECT_EQ(get("output").find("\"gap\"") != std::string::npos, true);
	show_records(record_of_every_kind(2));
	ASSERT_EQ(run("record -o capture --records " + std::to_string(kKinds)).status, 0);
	EXPECT_EQ(findings("dump --json capture"), "");
	const auto objects = objects_of(get("output"), "record");
	ASSERT_EQ(objects.size(), kKinds);
	for (std::size_t i = 0; i < 9; i++)
		EXPECT_EQ(objects[i].contains("decoded"), objects[i]["channel"] != "kmem");
	EXPECT_EQ(findings_of(run("dump --json --hex capture").out), "");
	EXPECT_EQ(findings("dump --json --channel svp --records 1 capture"), "");
}

TEST_F(JsonContractTest, summary)
{
	show_records(record_of_every_kind(1) + made_record(99, "?"));
	ASSERT_EQ(run("record -o capture --records " + std::to_string(kKinds)).status, 0);
	EXPECT_EQ(findings("dump --json --summary capture"), "");
	EXPECT_EQ(findings("dump --json --summary --channel fs capture"), "");
}

TEST_F(JsonContractTest, a_name_has_one_type_in_all_schemas)
{
	const Result checked = shell(ZEMCTL_JSON_CHECK);
	EXPECT_EQ(checked.err, "");
	EXPECT_EQ(checked.status, 0);
}

TEST_F(JsonContractTest, the_check_finds_what_is_wrong)
{
	show_records(made_record(ZEM_CHANNEL_WIFI, "text"));
	const std::string stream = run("watch --json --records 1").out;
	ASSERT_EQ(findings_of(stream), "");
	const auto with = [&](std::string_view old, std::string_view replacement) {
		std::string other = stream;
		other.replace(other.find(old), old.size(), replacement);
		return findings_of(other);
	};
	EXPECT_NE(with("\"sub_type\":0,", ""), "");
	EXPECT_NE(with("\"sub_type\":0,", "\"sub_type\":0,\"sub_type\":0,"), "");
	EXPECT_NE(with("\"sub_type\":0,", "\"sub_type\":\"0\","), "");
	EXPECT_NE(with("\"sub_type\":0,", "\"sub_type\":256,"), "");
	EXPECT_NE(with("\"time_ns\":\"1\"", "\"time_ns\":1"), "");
	EXPECT_NE(with("\"payload_text\"", "\"payload\""), "");
	EXPECT_NE(with("\"schema_version\":1", "\"schema_version\":2"), "");
	EXPECT_NE(with("zemctl.records", "zemctl.unknown"), "");
	EXPECT_NE(with("\"text\"", "\"\xff\""), "") << "not UTF-8";
	EXPECT_NE(findings_of(stream.substr(stream.find('\n') + 1)), "") << "no header";
	EXPECT_NE(findings_of(stream.substr(0, stream.find("{\"type\":\"end\""))), "") << "no end";
	EXPECT_NE(findings_of(stream.substr(0, stream.size() - 1)), "") << "half a line";
}

} // namespace zemctl
