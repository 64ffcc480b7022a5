// SPDX-License-Identifier: GPL-2.0
/* The records of the cgroup channel, and the same values in /proc/cgroup_metrics. */
#include <cerrno>
#include <memory>

#include "host/health_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;

namespace {

constexpr const char *kNames[] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};

/* Returns the record of these sums. */
std::string record_of(const Sums &sums)
{
	std::string bytes(280, '\0');
	for (size_t k = 0; k < sums.size(); k++) {
		memcpy(bytes.data() + 40 * k, kNames[k], strlen(kNames[k]));
		put(bytes, 40 * k + 16, sums[k].lat);
		put(bytes, 40 * k + 24, sums[k].d_io);
		put(bytes, 40 * k + 32, sums[k].d_nonio);
	}
	return bytes;
}

std::string text_of(const Sums &sums)
{
	std::string text;
	for (size_t k = 0; k < sums.size(); k++)
		text += std::string(kNames[k]) + " " + std::to_string(sums[k].lat) + " " +
			std::to_string(sums[k].d_io) + " " + std::to_string(sums[k].d_nonio) + "\n";
	return text;
}

const std::string kFile = "cgroup_metrics/cgroup_metrics";
const std::string kSwitch = "cgroup_metrics/cgroup_metrics_enabled";

/* Sums of all tasks and of one task in the root group. */
Sums in_root(const Triple &triple)
{
	return {triple, triple, {}, {}, {}, {}, {}};
}

} /* namespace */

class CgroupMetrics : public HealthTest {
protected:
	void SetUp() override
	{
		HealthTest::SetUp();
		store("sched_interval", "0");
		store("svp_interval", "0");
		store("cgroup_interval", "1");
		task = &task_in(1);
	}

	/* Triggers a cycle. Return: payloads of its cgroup records. */
	[[nodiscard]] std::vector<std::string> cycle()
	{
		hand_back();
		EXPECT_EQ(store("trigger", "1"), 1);
		kernel.run_until_idle();
		std::vector<std::string> found;
		for (const Record &record : records()) {
			if (record.header.channel != ZEM_CHANNEL_CGROUP)
				continue;
			EXPECT_EQ(record.header.channel, 18);
			EXPECT_EQ(record.header.sub_type, 0);
			EXPECT_EQ(record.header.len, 280U);
			found.push_back(record.payload);
		}
		return found;
	}

	sim::Task *task = nullptr;
};

TEST_F(CgroupMetrics, record_has_every_field_at_its_place)
{
	const int ids[] = {1, kForegroundId, kTopAppId, kBackgroundId, kSystemBackgroundId};
	Sums expected{};
	u64 next = 0x0102'0304'0506'0701;
	for (size_t i = 0; i < 5; i++) {
		sim::Task &one = task_in(ids[i]);
		const Triple triple{next++, next++, next++};
		wait(&one, triple.lat);
		block_for_io(one, triple.d_io);
		block(one, triple.d_nonio);
		expected[i + 1] = triple;
		expected[0].lat += triple.lat;
		expected[0].d_io += triple.d_io;
		expected[0].d_nonio += triple.d_nonio;
	}
	sim::Task &svp = task_in(-1, 1);
	wait(&svp, 9);
	expected[0].lat += 9;
	expected[6].lat = 9;
	EXPECT_THAT(cycle(), ElementsAre(record_of(expected)));
}

TEST_F(CgroupMetrics, setter_gets_only_the_record)
{
	static std::vector<SetterCall> calls;
	calls.clear();
	wait(task, 5);
	inside().upload_groups([](unsigned long long reserved, const void *data, int len,
				  unsigned int sub_type) {
		calls.push_back({reserved,
				 {static_cast<const char *>(data), static_cast<size_t>(len)},
				 sub_type});
	});
	ASSERT_THAT(calls, SizeIs(1));
	EXPECT_EQ(calls[0].reserved, 0U);
	EXPECT_EQ(calls[0].sub_type, 0U);
	EXPECT_EQ(calls[0].data, record_of(in_root({5, 0, 0})));
}

TEST_F(CgroupMetrics, record_is_of_the_time_since_the_sample_before)
{
	wait(task, 5);
	block(*task, 6);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({5, 0, 6}))));
	wait(task, 7);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({7, 0, 0}))));
	wait(task, 8);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({8, 0, 0}))));
}

TEST_F(CgroupMetrics, without_activity_all_entries_are_zero)
{
	wait(task, 5);
	EXPECT_THAT(cycle(), SizeIs(1));
	EXPECT_THAT(cycle(), ElementsAre(record_of({})));
	EXPECT_THAT(cycle(), ElementsAre(record_of({})));
}

TEST_F(CgroupMetrics, all_cpus_are_in_it)
{
	for (unsigned int cpu = 0; cpu < 8; cpu++)
		kernel.hooks.on_cpu(cpu).sched_stat_wait(task, 1);
	kernel.move_to_cpu(0);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({8, 0, 0}))));
}

TEST_F(CgroupMetrics, cpu_that_is_offline_stays_in_it)
{
	kernel.hooks.on_cpu(5).sched_stat_wait(task, 70);
	kernel.move_to_cpu(0);
	kernel.cpus.set_online(5, false);
	const std::vector<std::string> found = cycle();
	ASSERT_THAT(found, SizeIs(1));
	EXPECT_EQ(payload_of<zem_cgroup>(found[0]).entries[0].lat, 70U);
}

/* Not visible from outside, but each record is filled completely. */
TEST_F(CgroupMetrics, values_are_zero_between_samples)
{
	wait(task, 5);
	ASSERT_THAT(cycle(), SizeIs(1));
	const auto &unit = *inside().group_record();
	for (const zem_cgroup_entry &entry : unit.entries) {
		EXPECT_NE(entry.name[0], '\0');
		EXPECT_EQ(entry.lat + entry.d_io + entry.d_nonio, 0U);
	}
}

TEST_F(CgroupMetrics, restarted_sums_give_differences_that_wrap)
{
	wait(task, 100);
	block(*task, 1);
	EXPECT_THAT(cycle(), SizeIs(1));
	EXPECT_EQ(write_enable("1"), 1);
	EXPECT_EQ(log(), found_groups());
	wait(task, 30);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({0 - 70ULL, 0, 0 - 1ULL}))));
	wait(task, 30);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({30, 0, 0}))));
}

TEST_F(CgroupMetrics, switched_off_no_sample_is_taken_and_the_next_covers_the_gap)
{
	EXPECT_THAT(cycle(), SizeIs(1));
	EXPECT_EQ(write_proc(kSwitch, "0"), 1);
	wait(task, 5);
	EXPECT_THAT(cycle(), IsEmpty());
	wait(task, 6);
	EXPECT_THAT(cycle(), IsEmpty());
	EXPECT_EQ(write_proc(kSwitch, "1"), 1);
	wait(task, 7);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({18, 0, 0}))));
}

TEST_F(CgroupMetrics, view_works_with_the_switch_off)
{
	EXPECT_EQ(write_proc(kSwitch, "0"), 1);
	wait(task, 5);
	EXPECT_EQ(read_proc(kFile), text_of(in_root({5, 0, 0})));
}

TEST_F(CgroupMetrics, switch_is_as_the_others)
{
	EXPECT_EQ(read_proc(kSwitch), "1\n");
	for (const std::string off : {"0", "0\n", "01"}) {
		EXPECT_EQ(write_proc(kSwitch, off), static_cast<ssize_t>(off.size()));
		EXPECT_EQ(read_proc(kSwitch), "0\n");
		for (const std::string on : {"10", "1\n"}) {
			EXPECT_EQ(write_proc(kSwitch, on), static_cast<ssize_t>(on.size()));
			EXPECT_EQ(read_proc(kSwitch), "1\n");
		}
	}
	for (const std::string state : {"0", "1"}) {
		EXPECT_EQ(write_proc(kSwitch, state), 1);
		for (const char *text : {"", "2", "x", " 1", "\n"})
			EXPECT_EQ(write_proc(kSwitch, text), -EFAULT) << text;
		EXPECT_EQ(kernel.proc.write_faulting(kSwitch, 1), -EFAULT);
		EXPECT_EQ(read_proc(kSwitch), state + "\n");
	}
}

TEST_F(CgroupMetrics, view_is_exactly_so)
{
	EXPECT_EQ(read_proc(kFile), "all 0 0 0\n"
				    "root 0 0 0\n"
				    "fg 0 0 0\n"
				    "top 0 0 0\n"
				    "bg 0 0 0\n"
				    "sysbg 0 0 0\n"
				    "svp 0 0 0\n");
	sim::Task &one = task_in(kTopAppId, 1);
	wait(&one, ~0ULL);
	block_for_io(one, 2);
	block(one, 3);
	EXPECT_EQ(read_proc(kFile), "all 18446744073709551615 2 3\n"
				    "root 0 0 0\n"
				    "fg 0 0 0\n"
				    "top 18446744073709551615 2 3\n"
				    "bg 0 0 0\n"
				    "sysbg 0 0 0\n"
				    "svp 18446744073709551615 2 3\n");
	EXPECT_EQ(read_proc(kFile), text_of({}));
}

TEST_F(CgroupMetrics, view_and_upload_consume_the_same_interval)
{
	wait(task, 5);
	EXPECT_THAT(cycle(), SizeIs(1));
	wait(task, 6);
	EXPECT_EQ(read_proc(kFile), text_of(in_root({6, 0, 0})));
	wait(task, 7);
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({7, 0, 0}))));
	EXPECT_EQ(read_proc(kFile), text_of({}));
}

TEST_F(CgroupMetrics, reading_in_pieces_takes_one_sample)
{
	wait(task, 5);
	sim::OpenFile file = kernel.proc.open(kFile);
	std::string text = file.read(3).data;
	wait(task, 100);
	text += file.read_all(1).data;
	EXPECT_EQ(text, text_of(in_root({5, 0, 0})));
	EXPECT_EQ(file.lseek(0), 0);
	EXPECT_EQ(file.read_all().data, text_of(in_root({100, 0, 0})));
}

TEST_F(CgroupMetrics, directory_has_the_switch_and_the_view)
{
	EXPECT_THAT(kernel.proc.list("cgroup_metrics"),
		    ElementsAre(Pair("cgroup_metrics_enabled", 0644),
				Pair("cgroup_metrics", 0444)));
	EXPECT_EQ(write_proc(kFile, "1"), -EIO);
}

TEST_F(CgroupMetrics, second_sampler_waits_for_the_first)
{
	wait(task, 5);
	std::unique_ptr<sim::Thread> reader;
	std::string text;
	kernel.faults.at("ring_buffer_lock_reserve", [&] {
		wait(task, 100);
		reader = std::make_unique<sim::Thread>(
			kernel.spawn("reader", [&] { text = read_proc(kFile); }));
	});
	EXPECT_THAT(cycle(), ElementsAre(record_of(in_root({5, 0, 0}))));
	reader->join();
	EXPECT_EQ(text, text_of(in_root({100, 0, 0})));
}

class CgroupPriming : public HealthTest {
protected:
	/* The state before the first sample. */
	void SetUp() override
	{
		task = &task_in(1);
		kernel.faults.at("kobject_create_and_add", [&] { wait(task, 1000); }, 2);
		HealthTest::SetUp();
	}

	sim::Task *task = nullptr;
};

TEST_F(CgroupPriming, takes_the_first_sample_and_uploads_nothing)
{
	EXPECT_THAT(drained_payloads(), IsEmpty());
	wait(task, 5);
	EXPECT_EQ(read_proc(kFile), text_of(in_root({5, 0, 0})));
}

class CgroupSwitchedOffEarly : public UnloadedTest {};

TEST_F(CgroupSwitchedOffEarly, priming_takes_no_sample)
{
	sim::Task &task = kernel.platform.make_task({.svp = 0});
	task.fields.cpu_css_id = 1;
	const auto switch_off = [&] {
		EXPECT_EQ(kernel.proc.write(kSwitch, "0"), 1);
		kernel.hooks.sched_stat_wait(&task, 1000);
		static_cast<void>(kernel.log.take());
	};
	kernel.faults.at("kobject_create_and_add", switch_off, 2);
	ASSERT_EQ(module.load(), 0);
	EXPECT_EQ(kernel.proc.read(kFile).data, text_of(in_root({1000, 0, 0})));
}

class CgroupWithoutFiles : public HealthTest {
protected:
	void SetUp() override
	{
		kernel.faults.at(
			"proc_create_seq_private", [&] { kernel.faults.fail("proc_mkdir", 2); }, 2);
		ASSERT_EQ(module.load(), 0);
		EXPECT_EQ(log().back(), sim::err("Error in proc_cgroup_metrics_init!\n"));
	}
};

TEST_F(CgroupWithoutFiles, uploads_work_all_the_same)
{
	EXPECT_FALSE(kernel.proc.exists("cgroup_metrics"));
	EXPECT_TRUE(kernel.proc.exists("morva_sched_healthinfo/sched_healthinfo"));
	store("cgroup_interval", "1");
	wait(&task_in(1), 5);
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_EQ(log(), LogLines({sim::info("kioind_save_dev ")}));
	EXPECT_THAT(drained_payloads(), ::testing::Contains(record_of(in_root({5, 0, 0}))));
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
	EXPECT_THAT(kernel.left_in_proc, Not(::testing::Contains("cgroup_metrics")));
}

class CgroupBeforeItsBuffers : public UnloadedTest {};

/* The file exists before the buffers do. */
TEST_F(CgroupBeforeItsBuffers, view_is_empty)
{
	std::string text = "not read";
	const auto read = [&] {
		kernel.scheduler.meanwhile_on_cpu(1, [&] { text = kernel.proc.read(kFile).data; });
	};
	const auto at_the_lock = [&] {
		kernel.faults.at("mutex_lock", read);
	};
	kernel.faults.at(
		"proc_create_seq_private",
		[&] { kernel.faults.at("proc_create_single_data", at_the_lock); }, 2);
	load();
	EXPECT_EQ(text, "");
}

class CgroupShutDown : public HealthTest {};

/* A reader that arrives before the file is removed gets its text. */
TEST_F(CgroupShutDown, files_go_before_the_snapshots)
{
	unsigned int reads = 0;
	const auto read = [&] {
		if (!kernel.proc.exists("cgroup_metrics/cgroup_metrics"))
			return;
		EXPECT_TRUE(read_proc("cgroup_metrics/cgroup_metrics").starts_with("all "));
		reads++;
	};
	constexpr unsigned int kFiles = 30;
	for (unsigned int nth = 1; nth <= kFiles; nth++)
		kernel.faults.at("proc_remove", read, nth);
	/* Ends the consumer, as in unload(). */
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	store("trace_on", "1");
	module.unload();
	kernel.faults.clear();
	EXPECT_GT(reads, 20U);
	static_cast<void>(log());
}

TEST_F(CgroupShutDown, frees_both_snapshots)
{
	EXPECT_EQ(kernel.slab.allocations(), 3U);
	unload();
	EXPECT_EQ(kernel.slab.allocations(), 0U);
}

} /* namespace test */
