// SPDX-License-Identifier: GPL-2.0
/* The health sums: in which rows an event counts, and the discovery of the groups' ids. */
#include <algorithm>
#include <cerrno>

#include "host/health_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class HealthProbe : public HealthTest {
protected:
	using HealthTest::HealthTest;

	/* Returns the rows to which a wait of the task is added. */
	[[nodiscard]] std::vector<Row> rows_of(sim::Task &task)
	{
		const Sums before = sums();
		wait(&task, 5);
		std::vector<Row> rows;
		for (size_t row = 0; row < before.size(); row++)
			if (sums()[row].lat != before[row].lat)
				rows.push_back(static_cast<Row>(row));
		return rows;
	}
};

TEST_F(HealthProbe, each_kind_of_delay_has_its_sum)
{
	sim::Task &task = task_in(kForegroundId);
	wait(&task, 1);
	block_for_io(task, 20);
	block(task, 300);
	wait(&task, 4000);
	const Triple expected{4001, 20, 300};
	const Triple none{};
	EXPECT_THAT(sums(), ElementsAre(expected, none, expected, none, none, none, none));
}

TEST_F(HealthProbe, iowait_mark_matters_only_to_blocking)
{
	sim::Task &task = task_in(-1);
	task.fields.in_iowait = true;
	wait(&task, 7);
	EXPECT_EQ(sum(Row::kTotal), (Triple{7, 0, 0}));
}

TEST_F(HealthProbe, task_counts_in_total_and_in_the_row_of_its_group)
{
	EXPECT_THAT(rows_of(task_in(1)), ElementsAre(Row::kTotal, Row::kRoot));
	EXPECT_THAT(rows_of(task_in(kForegroundId)), ElementsAre(Row::kTotal, Row::kForeground));
	EXPECT_THAT(rows_of(task_in(kTopAppId)), ElementsAre(Row::kTotal, Row::kTopApp));
	EXPECT_THAT(rows_of(task_in(kBackgroundId)), ElementsAre(Row::kTotal, Row::kBackground));
	EXPECT_THAT(rows_of(task_in(kSystemBackgroundId)),
		    ElementsAre(Row::kTotal, Row::kSystemBackground));
	EXPECT_THAT(rows_of(task_in(6)), ElementsAre(Row::kTotal));
	EXPECT_THAT(rows_of(task_in(-1)), ElementsAre(Row::kTotal)) << "in no group at all";
}

TEST_F(HealthProbe, svp_task_counts_there_too_by_what_it_is_now)
{
	EXPECT_THAT(rows_of(task_in(kTopAppId, 1)),
		    ElementsAre(Row::kTotal, Row::kTopApp, Row::kSvp));
	EXPECT_THAT(rows_of(task_in(-1, 3)), ElementsAre(Row::kTotal, Row::kSvp));
	for (const int answer : {0, 2, -2})
		EXPECT_THAT(rows_of(task_in(1, answer)), ElementsAre(Row::kTotal, Row::kRoot));
	sim::Task &by_standing = task_in(1);
	by_standing.fields.orig_svp = 1;
	EXPECT_THAT(rows_of(by_standing), ElementsAre(Row::kTotal, Row::kRoot));
	sim::Task &svp = task_in(1, 1);
	block_for_io(svp, 40);
	block(svp, 50);
	EXPECT_EQ(sum(Row::kSvp), (Triple{10, 40, 50}));
}

TEST_F(HealthProbe, ids_are_compared_in_their_order)
{
	group_ids() = {7, 7, 7, 7, 0};
	EXPECT_THAT(rows_of(task_in(7)), ElementsAre(Row::kTotal, Row::kForeground));
	group_ids() = {2, 7, 7, 7, 0};
	EXPECT_THAT(rows_of(task_in(7)), ElementsAre(Row::kTotal, Row::kBackground));
	group_ids() = {2, 3, 7, 7, 0};
	EXPECT_THAT(rows_of(task_in(7)), ElementsAre(Row::kTotal, Row::kTopApp));
	group_ids() = {2, 3, 4, 7, 7};
	EXPECT_THAT(rows_of(task_in(7)), ElementsAre(Row::kTotal, Row::kSystemBackground));
	group_ids() = {2, 3, 4, 5, 7};
	EXPECT_THAT(rows_of(task_in(7)), ElementsAre(Row::kTotal)) << "the last is nobody's";
	group_ids() = {1, 1, 1, 1, 0};
	EXPECT_THAT(rows_of(task_in(1)), ElementsAre(Row::kTotal, Row::kRoot));
}

TEST_F(HealthProbe, no_task_and_no_delay_add_nothing)
{
	wait(nullptr, 5);
	kernel.hooks.sched_stat_blocked(nullptr, 5);
	wait(&task_in(1), 0);
	EXPECT_EQ(sums(), Sums{});
}

TEST_F(HealthProbe, sums_wrap)
{
	sim::Task &task = task_in(1);
	wait(&task, ~0ULL);
	wait(&task, 3);
	EXPECT_EQ(sum(Row::kTotal).lat, 2U);
	EXPECT_EQ(sum(Row::kRoot).lat, 2U);
}

TEST_F(HealthProbe, task_may_change_its_group)
{
	sim::Task &task = task_in(kForegroundId);
	EXPECT_THAT(rows_of(task), ElementsAre(Row::kTotal, Row::kForeground));
	task.fields.cpu_css_id = kBackgroundId;
	EXPECT_THAT(rows_of(task), ElementsAre(Row::kTotal, Row::kBackground));
}

TEST_F(HealthProbe, cpus_are_added_up_and_to_what_the_caller_has)
{
	sim::Task &task = task_in(1);
	kernel.hooks.on_cpu(0).sched_stat_wait(&task, 1);
	kernel.hooks.on_cpu(3).sched_stat_wait(&task, 20);
	kernel.hooks.on_cpu(7).sched_stat_wait(&task, 300);
	EXPECT_EQ(sum(Row::kRoot).lat, 321U);
	auto *get = inside().add_health_sums;
	Sums out{};
	out[0].lat = 1000;
	out[6].d_nonio = 5;
	EXPECT_EQ(get(&out[0].lat), 1);
	EXPECT_EQ(out[0].lat, 1321U);
	EXPECT_EQ(out[6].d_nonio, 5U);
	for (const long none : {0L, -1L, -4095L})
		EXPECT_EQ(get(reinterpret_cast<u64 *>(none)), 0) << none;
}

TEST_F(HealthProbe, one_triple_is_added_to_another)
{
	Triple a{1, 20, ~0ULL};
	const Triple b{3, 40, 2};
	inside().add_health_row(&a.lat, &b.lat);
	EXPECT_EQ(a, (Triple{4, 60, 1}));
}

class HealthProbe12Cpus : public HealthProbe {
protected:
	HealthProbe12Cpus() : HealthProbe({.cpus = 12, .absent_cpus = {5, 9}}) {}
};

TEST_F(HealthProbe12Cpus, every_possible_cpu_counts)
{
	sim::Task &task = task_in(1);
	for (const unsigned int cpu : {0, 4, 6, 8, 11})
		kernel.hooks.on_cpu(cpu).sched_stat_wait(&task, 1);
	EXPECT_EQ(sum(Row::kTotal).lat, 5U);
}

class HealthDiscovery : public GrouplessTest {
protected:
	/* Returns the messages of a new discovery. */
	[[nodiscard]] LogLines discover()
	{
		EXPECT_EQ(write_enable("1"), 1);
		return log();
	}

	void make_groups(const std::vector<std::string> &names)
	{
		int id = 2;
		for (const std::string &name : names)
			kernel.cgroups.set(id++, name);
	}
};

TEST_F(HealthDiscovery, groups_are_logged_in_the_order_of_their_ids)
{
	make_groups({"system-background", "top-app", "a", "foreground", "b", "background"});
	EXPECT_EQ(discover(),
		  LogLines({sim::info("root 1\n"), sim::info("sysbg 2\n"), sim::info("top 2\n"),
			    sim::info("foreground 5\n"), sim::info("background 7\n")}));
	EXPECT_THAT(group_ids(), ElementsAre(5U, 7U, 3U, 2U, 0U));
}

TEST_F(HealthDiscovery, top_app_of_id_5_logs_4)
{
	make_groups({"a", "b", "c", "top-app"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("top 4\n")}));
	EXPECT_EQ(group_ids()[2], 5U);
}

TEST_F(HealthDiscovery, names_are_compared_whole)
{
	make_groups(
		{"foreground_window", "Background", "top", "system-background ", "", "oreground"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n")}));
	EXPECT_THAT(group_ids(), ElementsAre(0U, 0U, 0U, 0U, 0U));
}

TEST_F(HealthDiscovery, first_gap_ends_it)
{
	make_groups({"foreground", "x", "top-app"});
	kernel.cgroups.remove(3);
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n")}));
	kernel.cgroups.remove(2);
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n")}));
	EXPECT_EQ(group_ids()[0], 2U) << "what was found before stays";
}

TEST_F(HealthDiscovery, group_without_a_name_ends_it)
{
	make_groups({"foreground", "x", "top-app"});
	kernel.cgroups.set(3, {});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n")}));
	EXPECT_EQ(group_ids()[2], 0U);
}

TEST_F(HealthDiscovery, id_20_is_the_last)
{
	make_groups(std::vector<std::string>(18, "x"));
	kernel.cgroups.set(20, "foreground");
	kernel.cgroups.set(21, "background");
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 20\n")}));
	EXPECT_EQ(group_ids()[1], 0U);
}

TEST_F(HealthDiscovery, id_1_is_not_looked_at)
{
	kernel.cgroups.set(1, "background");
	make_groups({"foreground"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n")}));
}

TEST_F(HealthDiscovery, later_group_of_the_same_name_stands)
{
	make_groups({"foreground", "top-app", "foreground"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n"),
					sim::info("top 2\n"), sim::info("foreground 4\n")}));
	EXPECT_EQ(group_ids()[0], 4U);
}

TEST_F(HealthDiscovery, every_group_may_have_a_name_that_is_known)
{
	make_groups(std::vector<std::string>(19, "background"));
	const LogLines lines = discover();
	ASSERT_THAT(lines, SizeIs(20));
	EXPECT_EQ(lines[19], sim::info("background 20\n"));
	EXPECT_EQ(group_ids()[1], 20U);
}

TEST_F(HealthDiscovery, renamed_groups_keep_what_was_found_until_another_has_the_name)
{
	make_groups({"foreground", "background"});
	EXPECT_THAT(discover(), SizeIs(3));
	make_groups({"other", "foreground"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("foreground 3\n")}));
	EXPECT_THAT(group_ids(), ElementsAre(3U, 3U, 0U, 0U, 0U));
}

/* A discovery without news must not log: the message would cause another event. */
TEST_F(HealthDiscovery, without_a_foreground_group_every_event_has_it_looked_for)
{
	sim::Task &task = task_in(3);
	make_groups({"x", "background"});
	wait(&task, 1);
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n"), sim::info("background 3\n")}));
	EXPECT_EQ(sum(Row::kBackground), (Triple{0, 0, 0})) << "found after the event";
	make_groups({"background", "x"});
	EXPECT_EQ(discover(), LogLines({sim::info("root 1\n"), sim::info("background 2\n")}));
	wait(&task, 1);
	EXPECT_THAT(log(), IsEmpty()) << "logged when it was asked for";
	make_groups({"x", "background"});
	EXPECT_THAT(discover(), SizeIs(2));
	for (int i = 0; i < 3; i++) {
		wait(&task, 1);
		block(task, 1);
	}
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_EQ(sum(Row::kBackground), (Triple{3, 0, 3}));

	make_groups({"top-app"});
	block(task, 1);
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n"), sim::info("top 1\n"),
				   sim::info("background 3\n")}));
	make_groups({"foreground"});
	task.fields.cpu_css_id = 2;
	wait(&task, 1);
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n"),
				   sim::info("background 3\n")}));
	EXPECT_EQ(sum(Row::kForeground), (Triple{0, 0, 0}));
	make_groups({"other", "foreground"});
	wait(&task, 1);
	block(task, 1);
	EXPECT_THAT(log(), IsEmpty()) << "found for good";
	EXPECT_EQ(sum(Row::kForeground), (Triple{1, 0, 1}));
}

/* A reader of the log waits for a CPU when it is woken. */
TEST_F(HealthDiscovery, reader_of_the_log_does_not_make_it_grow)
{
	sim::Task &reader = task_in(1);
	wait(&task_in(1), 1);
	size_t lines = 0;
	for (int i = 0; i < 1000; i++) {
		const size_t fresh = log().size();
		lines += fresh;
		for (size_t line = 0; line < std::max<size_t>(fresh, 1); line++)
			wait(&reader, 1);
	}
	EXPECT_EQ(lines, 0U);
	EXPECT_EQ(write_enable("1"), 1);
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n")})) << "who asks is answered";
}

TEST_F(HealthDiscovery, event_that_is_not_recorded_looks_for_nothing)
{
	make_groups({"foreground"});
	wait(nullptr, 1);
	kernel.hooks.sched_stat_blocked(nullptr, 1);
	EXPECT_EQ(write_enable("0"), 1);
	wait(&task_in(1), 1);
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_EQ(group_ids()[0], 0U);
}

/* The interrupt that searches for the groups may be delayed. */
TEST_F(HealthDiscovery, many_events_before_one_interrupt_have_one_discovery)
{
	sim::Task &task = task_in(2);
	kernel.irq_works.hold();
	wait(&task, 1);
	EXPECT_EQ(kernel.irq_works.pending(), 1U);
	make_groups({"foreground"});
	wait(&task, 1);
	wait(&task, 1);
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_EQ(group_ids()[0], 0U);
	EXPECT_EQ(kernel.irq_works.release(), 1U);
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n")}));
	EXPECT_EQ(group_ids()[0], 2U);
	EXPECT_EQ(kernel.irq_works.pending(), 0U);
}

/* In the context of an event, the lock of names and other locks must not be taken. */
TEST_F(HealthDiscovery, event_takes_no_lock)
{
	sim::Task &task = task_in(1);
	kernel.irq_works.hold();
	unsigned int locks = 0;
	for (const char *call : {"raw_spin_lock", "raw_spin_lock_irqsave"})
		kernel.faults.at(call, [&] { locks++; });
	wait(&task, 1);
	kernel.faults.clear();
	EXPECT_EQ(locks, 0U);
	EXPECT_EQ(kernel.irq_works.release(), 1U);
}

TEST_F(HealthDiscovery, unloading_waits_for_a_discovery_that_is_still_to_come)
{
	make_groups({"foreground"});
	kernel.irq_works.hold();
	wait(&task_in(1), 1);
	unload();
	EXPECT_EQ(log(), LogLines({sim::info("root 1\n"), sim::info("foreground 2\n")}));
}

/* A running probe may request a discovery. */
TEST_F(HealthDiscovery, unloading_waits_for_the_probes_before_it_waits_for_discoveries)
{
	std::vector<std::string> calls;
	constexpr unsigned int kMany = 8;
	for (const char *call :
	     {"tracepoint_probe_unregister", "tracepoint_synchronize_unregister", "irq_work_sync"})
		for (unsigned int nth = 1; nth <= kMany; nth++)
			kernel.faults.at(call, [&calls, call] { calls.emplace_back(call); }, nth);
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	store("trace_on", "1");
	module.unload();
	kernel.faults.clear();
	static_cast<void>(log());
	const std::vector<std::string> expected = {"tracepoint_probe_unregister",
						   "tracepoint_probe_unregister",
						   "tracepoint_synchronize_unregister",
						   "irq_work_sync"};
	ASSERT_THAT(calls, SizeIs(::testing::Ge(4U)));
	/* The first one is that of the consumer's wake-up. */
	const auto first = std::ranges::find(calls, "irq_work_sync");
	const auto sync = std::find(first + 1, calls.end(), "irq_work_sync");
	ASSERT_NE(sync, calls.end());
	ASSERT_GE(sync - calls.begin(), 3);
	EXPECT_EQ(std::vector<std::string>(sync - 3, sync + 1), expected);
}

} /* namespace test */
