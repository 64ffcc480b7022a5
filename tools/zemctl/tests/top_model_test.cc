// SPDX-License-Identifier: GPL-2.0
/*
 * The values that the screen of zemctl top shows.
 */
#include <gtest/gtest.h>

#include "top/cells.h"
#include "top/replay.h"
#include "top_fixture.h"

namespace zemctl {

TEST(TopModelTest, a_process_is_the_sum_of_its_threads)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(70, 71, "thread", "", 0, 5), kTopStart);
	add_to(model, ZEM_CHANNEL_LOAD, load_of(70, 70, "leader", "pkg", 900, 7), kTopStart);
	add_to(model, ZEM_CHANNEL_LOAD, load_of(-1, 72, "alone", "", 1, 1), kTopStart);
	add_to(model, ZEM_CHANNEL_SVP, svp_of(70, 71, "thread", 1, 2, 3), kTopStart);
	add_to(model, ZEM_CHANNEL_SVP, svp_of(70, 73, "other", 10, 20, 30), kTopStart);
	add_to(model, ZEM_CHANNEL_SVP, svp_of(80, 81, "svp only", 4, 5, 6), kTopStart);
	const TopView view = model.view(kTopStart);
	ASSERT_EQ(view.processes.size(), 3u);
	const TopProcess &process = view.processes[0];
	EXPECT_EQ(process.pid, 70);
	EXPECT_EQ(process.comm, "leader");
	EXPECT_EQ(process.package, "pkg");
	EXPECT_EQ(process.usage, 900u);
	EXPECT_EQ(process.runtime, 12u);
	EXPECT_EQ(process.run_delay, 11u);
	EXPECT_EQ(process.d_state, 22u);
	EXPECT_EQ(process.iowait, 33u);
	EXPECT_EQ(view.processes[1].pid, 72);
	EXPECT_EQ(view.processes[1].run_delay, std::nullopt);
	EXPECT_EQ(view.processes[2].pid, 80);
	EXPECT_EQ(view.processes[2].usage, std::nullopt);
}

TEST(TopModelTest, a_pass_is_shown_when_it_is_complete)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 1, "first", "", 1, 1), kTopStart);
	EXPECT_EQ(model.view(kTopStart).processes.size(), 1u);
	const std::uint64_t second = kTopStart + 5 * kNsPerSecond;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(2, 2, "second", "", 1, 1), second);
	EXPECT_EQ(model.view(second).processes[0].comm, "first");
	add_to(model, ZEM_CHANNEL_LOAD, load_of(3, 3, "third", "", 1, 1), second + kTopMs);
	EXPECT_EQ(model.view(second + kPassTime).processes[0].comm, "first");
	const TopView view = model.view(second + kPassTime + 1);
	ASSERT_EQ(view.processes.size(), 2u);
	EXPECT_EQ(view.processes[0].comm, "second");
	EXPECT_EQ(view.process_times->period, 5 * kNsPerSecond);
	EXPECT_EQ(model.view(second, StreamState::kEnded).processes.size(), 2u);
}

TEST(TopModelTest, a_clock_that_is_set_back_begins_a_pass)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 1, "late", "", 1, 1), kTopStart);
	add_to(model, ZEM_CHANNEL_LOAD, load_of(2, 2, "early", "", 1, 1), 5);
	const TopView view = model.view(5, StreamState::kEnded);
	ASSERT_EQ(view.processes.size(), 1u);
	EXPECT_EQ(view.processes[0].comm, "early");
	EXPECT_EQ(view.process_times->period, std::nullopt);
}

TEST(TopModelTest, a_difference_that_wrapped_counts_as_none)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 1, "x", "", 1, UINT64_MAX - 3), kTopStart);
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 2, "x", "", 1, 9), kTopStart);
	EXPECT_EQ(model.view(kTopStart).processes[0].runtime, 9u);
}

TEST(TopModelTest, a_process_has_the_package_of_whichever_record_knows_it)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 1, "a", "", 1, 1), kTopStart);
	add_to(model, ZEM_CHANNEL_LOAD, load_of(2, 2, "b", "of load", 1, 1), kTopStart);
	zem_svp svp = svp_of(1, 1, "a", 1, 1, 1);
	set_field(svp.package_name, "of svp");
	add_to(model, ZEM_CHANNEL_SVP, svp, kTopStart);
	svp.tgid = 2;
	add_to(model, ZEM_CHANNEL_SVP, svp, kTopStart);
	const TopView view = model.view(kTopStart);
	ASSERT_EQ(view.processes.size(), 2u);
	EXPECT_EQ(view.processes[0].package, "of svp");
	EXPECT_EQ(view.processes[1].package, "of load");
}

TEST(TopModelTest, its_size_is_bounded_whatever_a_stream_has)
{
	TopModel model;
	for (std::uint32_t i = 1; i <= 32'769; i++)
		add_to(model, ZEM_CHANNEL_LOAD, load_of(0, i, "x", "", 1, i), kTopStart);
	/* A process that is known already still counts. */
	add_to(model, ZEM_CHANNEL_LOAD, load_of(1, 40'000, "x", "", 1, 4), kTopStart);
	const TopView view = model.view(kTopStart);
	EXPECT_EQ(view.processes.size(), 32'768u);
	EXPECT_EQ(view.processes.back().pid, 32'768);
	EXPECT_EQ(view.processes.front().runtime, 5u);

	for (std::uint32_t uid = 20'000; uid < 20'000 + 16'384; uid++)
		model.add_package(uid, "filler");
	model.add_package(10'200, "one too many");
	add_to(model, ZEM_CHANNEL_KIO, kio_of(1), kTopStart);
	EXPECT_EQ(model.view(kTopStart).users[0].package, "");

	model.describe_cpus({{ZEM_LOAD_CPUS, 0, 1024, 0}});
	add_to(model, ZEM_CHANNEL_CPU, cpu_of(ZEM_LOAD_CPUS, 1), kTopStart);
	EXPECT_TRUE(model.view(kTopStart).clusters.empty());
}

TEST(TopModelTest, a_clock_that_is_set_back_leaves_no_time_between_records)
{
	TopModel model;
	for (const std::uint64_t time : {kTopStart, kTopStart - kNsPerSecond}) {
		add_to(model, ZEM_CHANNEL_SCHED, sched_of(1), time);
		add_to(model, ZEM_CHANNEL_KIO, kio_of(1), time);
	}
	EXPECT_EQ(model.view(kTopStart).sched_times->period, std::nullopt);
	EXPECT_EQ(model.view(kTopStart).io_times->period, std::nullopt);
	EXPECT_EQ(model.view(kTopStart).sched_times->begin, kTopStart - kNsPerSecond);
}

TEST(TopModelTest, amounts_of_a_user_that_wrapped_count_as_none)
{
	TopModel model;
	zem_kio kio = kio_of(1);
	kio.io_top[0].delta_total = UINT64_MAX - 1;
	kio.iowait_top[0].delta_iowait = UINT64_MAX - 1;
	add_to(model, ZEM_CHANNEL_KIO, kio, kTopStart);
	const TopView view = model.view(kTopStart);
	ASSERT_EQ(view.users.size(), 2u);
	for (const TopUser &user : view.users) {
		EXPECT_EQ(user.bytes, 0u);
		EXPECT_EQ(user.iowait, 0u);
	}
}

TEST(TopModelTest, disks_show_what_was_added_since_the_record_before)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_KIO, kio_of(1), kTopStart);
	EXPECT_FALSE(model.view(kTopStart).disks);
	add_to(model, ZEM_CHANNEL_KIO, kio_of(3), kTopStart + 5 * kNsPerSecond);
	const TopView view = model.view(kTopStart);
	ASSERT_TRUE(view.disks);
	EXPECT_EQ((*view.disks)[3].read, 2 * 20'000 * 512u);
	EXPECT_EQ((*view.disks)[3].written, 2 * 1000 * 512u);
	EXPECT_EQ((*view.disks)[3].busy, 5000 * kTopMs);
	EXPECT_EQ((*view.disks)[0].read, 0u);
	EXPECT_EQ(view.io_times->period, 5 * kNsPerSecond);
	ASSERT_EQ(view.users.size(), 2u);
	EXPECT_EQ(view.users[0].uid, 10'200u);
	EXPECT_EQ(view.users[0].bytes, 10'240'000u);
	EXPECT_EQ(view.users[1].iowait, 7 * kTopMs);
}

TEST(TopModelTest, cpus_are_in_the_clusters_of_the_machine)
{
	TopModel model;
	add_to(model, ZEM_CHANNEL_CPU, cpu_of(7, 10), kTopStart);
	add_to(model, ZEM_CHANNEL_CPU, cpu_of(1, 20), kTopStart);
	add_to(model, ZEM_CHANNEL_CPU, cpu_of(0, 30), kTopStart);
	add_to(model, ZEM_CHANNEL_CPU, cpu_of(800, 30), kTopStart);
	ASSERT_EQ(model.view(kTopStart).clusters.size(), 1u);
	EXPECT_EQ(model.view(kTopStart).clusters[0].number, std::nullopt);
	EXPECT_EQ(model.view(kTopStart).clusters[0].cpus.size(), 3u);
	model.describe_cpus(three_clusters());
	const TopView view = model.view(kTopStart);
	ASSERT_EQ(view.clusters.size(), 2u);
	EXPECT_EQ(view.clusters[0].cpus[1].cpu, 1u);
	EXPECT_EQ(view.clusters[1].number, 2u);
}

TEST(TopModelTest, payloads_of_another_size_only_count)
{
	TopModel model;
	const ByteVector bytes = made_record(ZEM_CHANNEL_LOAD, "short", kTopStart);
	model.add(as_record(bytes));
	const TopView view = model.view(kTopStart);
	EXPECT_EQ(view.records, 1u);
	EXPECT_TRUE(view.processes.empty());
}

TEST(TopRateTest, has_the_records_of_the_last_ten_seconds)
{
	RecordRate rate;
	EXPECT_EQ(rate.mean(kTopStart).records, 0);
	for (std::uint64_t second = 0; second < 100; second++) {
		for (std::uint64_t i = 0; i < second; i++)
			rate.add(kTopStart + second * kNsPerSecond, 10);
		/* Not over ten seconds, but over those since the first record. */
		if (second == 2) {
			EXPECT_EQ(rate.mean(kTopStart + 2 * kNsPerSecond).records, 1.5);
		}
	}
	const std::uint64_t now = kTopStart + 99 * kNsPerSecond;
	EXPECT_EQ(rate.mean(now).records, 94.5);
	EXPECT_EQ(rate.mean(now).bytes, 945);
	EXPECT_EQ(rate.history(now)[59], 99u);
	EXPECT_EQ(rate.history(now)[0], 40u);
	EXPECT_EQ(rate.mean(now + 60 * kNsPerSecond).records, 0);
	/* A second that has passed has no place any more. */
	rate.add(kTopStart, 10);
	EXPECT_EQ(rate.history(now)[0], 40u);
}

TEST(TopOrderTest, sorts_by_each_column)
{
	std::vector<TopProcess> processes = {
		{.pid = 3, .comm = "b", .usage = 1, .runtime = 5, .run_delay = 9},
		{.pid = 1, .comm = "c", .usage = 1, .runtime = 7, .iowait = 1},
		{.pid = 2, .comm = "a", .usage = 2, .d_state = 8},
	};
	const auto pids = [&](TopSort sort, bool reverse = false) {
		select_and_sort(processes, {.by = sort, .reverse = reverse, .filter = ""});
		std::string all;
		for (const TopProcess &process : processes)
			all += std::to_string(process.pid);
		return all;
	};
	EXPECT_EQ(pids(TopSort::kUsage), "213");
	EXPECT_EQ(pids(TopSort::kUsage, true), "312");
	EXPECT_EQ(pids(TopSort::kRuntime), "132");
	EXPECT_EQ(pids(TopSort::kRunDelay), "312");
	EXPECT_EQ(pids(TopSort::kDState), "213");
	EXPECT_EQ(pids(TopSort::kIoWait), "132");
	EXPECT_EQ(pids(TopSort::kPid), "123");
	EXPECT_EQ(pids(TopSort::kName), "231");
}

TEST(TopOrderTest, a_filter_selects_by_name_package_or_pid)
{
	const auto count = [](std::string filter) {
		std::vector<TopProcess> processes = {{.pid = 123, .comm = "Render"},
						     {.pid = 9, .package = "com.example.Maps"}};
		select_and_sort(processes, {.filter = std::move(filter)});
		return processes.size();
	};
	EXPECT_EQ(count(""), 2u);
	EXPECT_EQ(count("reND"), 1u);
	EXPECT_EQ(count("maps"), 1u);
	EXPECT_EQ(count("23"), 1u);
	EXPECT_EQ(count("x"), 1u);
	EXPECT_EQ(count("zz"), 0u);
}

TEST(TopCellsTest, values_have_three_digits_and_at_most_six_characters)
{
	EXPECT_EQ(duration_text(std::uint64_t{0}), "0");
	EXPECT_EQ(duration_text(std::uint64_t{450}), "0.45us");
	EXPECT_EQ(duration_text(std::uint64_t{9'994}), "9.99us");
	EXPECT_EQ(duration_text(std::uint64_t{9'996}), "10.0us");
	EXPECT_EQ(duration_text(std::uint64_t{999'600}), "1.00ms");
	EXPECT_EQ(duration_text(123 * kTopMs), "123ms");
	EXPECT_EQ(duration_text(12'340 * kTopMs), "12.3s");
	EXPECT_EQ(duration_text(123'456'000 * kTopMs), "123456s");
	EXPECT_EQ(duration_text(std::optional<std::uint64_t>()), "-");
	EXPECT_EQ(duration_text(std::optional(UINT64_MAX)), "-");
	EXPECT_EQ(size_text(0), "0B");
	EXPECT_EQ(size_text(999.4), "999B");
	EXPECT_EQ(size_text(999.6), "1.00kB");
	EXPECT_EQ(size_text(12'345'678), "12.3MB");
	EXPECT_EQ(size_text(99'940), "99.9kB");
	EXPECT_EQ(size_text(99'960), "100kB");
	EXPECT_EQ(capacity_text(ZEM_CAPACITY_FULL / 2), "50.0");
	EXPECT_EQ(fitted("abc", 5), "abc  ");
	EXPECT_EQ(fitted("abc", 0), "");
}

} // namespace zemctl
