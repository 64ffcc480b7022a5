// SPDX-License-Identifier: GPL-2.0
/* Each row counts every call on several CPUs, and the checks that say so can fail. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <thread>

#include "core/records.h"
#include "core/settings.h"
#include "host/cpu.h"
#include "host/spin.h"
#include "kernel/api/percpu.h"
#include "kernel/percpu.h"
#include "report.h"
#include "rows.h"

using namespace scale;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/* An attempt is enough: a disturbed window counts as correctly as any other. */
constexpr Effort kShort{.window = std::chrono::microseconds(100), .attempts = 1};

constexpr unsigned int kThreads = 3;

/* One round of all threads of the team. Return: that of the first. */
Round run(Team &team)
{
	Round round{};
	std::vector<std::thread> threads;
	for (unsigned int index = 0; index < team.size(); index++)
		threads.emplace_back([&, index] {
			const Round own = team.measure(index, kShort);
			if (index == 0)
				round = own;
		});
	for (std::thread &thread : threads)
		thread.join();
	return round;
}

/* A row of the module or its floor. */
struct Case {
	Row row;
	std::string name;
};

void PrintTo(const Case &test, std::ostream *out)
{
	*out << test.name;
}

std::vector<Case> all_cases()
{
	std::vector<Case> cases;
	for (const Pair &pair : all_rows()) {
		cases.push_back({pair.zem, std::string("zem_") + pair.zem.name});
		if (pair.floor.name)
			cases.push_back({pair.floor, std::string("floor_") + pair.floor.name});
	}
	for (Case &test : cases)
		std::ranges::replace(test.name, '/', '_');
	return cases;
}

class EachRow : public ::testing::TestWithParam<Case> {};

TEST_P(EachRow, counts_every_call_of_one_cpu)
{
	Team team(GetParam().row, 1);
	EXPECT_GT(run(team).together.calls, 0u);
	EXPECT_EQ(team.check(), "");
}

TEST_P(EachRow, counts_every_call_of_several_cpus)
{
	Team team(GetParam().row, kThreads);
	const Round round = run(team);
	EXPECT_GT(round.together.calls, 0u);
	EXPECT_GT(round.scaling, 0);
	EXPECT_EQ(team.check(), "");
}

TEST_P(EachRow, reports_a_call_that_is_not_counted)
{
	for (unsigned int cpu = 0; cpu < kThreads; cpu++) {
		Team team(GetParam().row, kThreads);
		run(team);
		team.worker(cpu).calls++;
		EXPECT_THAT(team.check(), HasSubstr("counted")) << "of CPU " << cpu;
	}
}

TEST_P(EachRow, reports_a_call_that_is_counted_twice)
{
	Team team(GetParam().row, kThreads);
	run(team);
	team.worker(kThreads - 1).calls--;
	EXPECT_THAT(team.check(), HasSubstr("counted"));
}

INSTANTIATE_TEST_SUITE_P(Scale, EachRow, ::testing::ValuesIn(all_cases()),
			 [](const auto &info) { return info.param.name; });

ZEM_PERCPU constinit zem::PerCpu<u64> variable;

TEST(HostKernel, each_cpu_has_its_instance_of_a_variable)
{
	task_struct task{};
	for (unsigned int cpu = 0; cpu < host::kCpus; cpu++)
		variable.of(cpu) = 100 + cpu;
	std::thread([&] {
		for (unsigned int cpu = 0; cpu < host::kCpus; cpu++) {
			host::enter_cpu(cpu, &task);
			EXPECT_EQ(variable.mine(), 100 + cpu);
		}
	}).join();
}

TEST(HostKernel, threads_are_pinned_to_distinct_cpus)
{
	task_struct task{};
	std::vector<int> pinned;
	std::thread([&] {
		for (unsigned int cpu = 0; cpu < host::real_cpus().size(); cpu++) {
			ASSERT_TRUE(host::enter_cpu(cpu, &task));
			pinned.push_back(sched_getcpu());
		}
	}).join();
	EXPECT_EQ(pinned, host::real_cpus());
}

TEST(HostKernel, a_lock_has_one_holder)
{
	constexpr u64 kRounds = 20000;
	ticket_lock lock{};
	u64 counter = 0;
	std::vector<std::thread> threads;
	for (unsigned int i = 0; i < kThreads; i++)
		threads.emplace_back([&] {
			for (u64 round = 0; round < kRounds; round++) {
				ticket_lock_acquire(&lock);
				const u64 seen = counter;
				asm volatile("" ::: "memory");
				counter = seen + 1;
				ticket_lock_release(&lock);
			}
		});
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(counter, kThreads * kRounds);
}

/* Return: whether an object lies in a cache line of another one. */
template <typename One, typename Other>
bool share_a_line(const One &one, const Other &other)
{
	constexpr uintptr_t kLine = 64;
	const auto line = [](const void *address) {
		return reinterpret_cast<uintptr_t>(address) / kLine;
	};
	return line(&one) <= line(reinterpret_cast<const char *>(&other + 1) - 1) &&
	       line(&other) <= line(reinterpret_cast<const char *>(&one + 1) - 1);
}

/* Each producer reads these, and each one writes the signal. */
TEST(Placement, what_producers_read_is_not_in_a_line_of_the_signal)
{
	EXPECT_FALSE(share_a_line(zem::buffer, zem::data_ready));
	EXPECT_FALSE(share_a_line(zem::train_number, zem::data_ready));
	EXPECT_FALSE(share_a_line(zem::trace_on, zem::data_ready));
}

Round round_of(u64 calls, double scaling, bool was_disturbed = false)
{
	return {
		.together = {.seconds = 0.001, .calls = calls, .was_disturbed = was_disturbed},
		.scaling = scaling,
		.was_disturbed = was_disturbed,
	};
}

std::string text_of(const Report &report)
{
	std::ostringstream out;
	report.print(out);
	return out.str();
}

std::vector<Pair> rows_named(const char *name)
{
	return {{.zem = {.name = name}, .floor = {.name = name}}};
}

TEST(TheReport, shows_the_median_of_undisturbed_rounds)
{
	Report report(rows_named("row"));
	for (const u64 calls : {1000, 3000, 2000})
		report.add("row", false, 2, round_of(calls, static_cast<double>(calls) / 1000));
	report.add("row", false, 2, round_of(9000, 9, true));
	report.add("row", true, 2, round_of(500, 0.25));
	EXPECT_THAT(text_of(report), HasSubstr("2         2.00    2.00          0.50    0.25"));
}

TEST(TheReport, marks_a_figure_that_has_only_disturbed_rounds)
{
	Report report(rows_named("row"));
	report.add("row", false, 2, round_of(1000, 1.9, true));
	EXPECT_THAT(text_of(report), HasSubstr("1.90?"));
}

TEST(TheReport, names_the_rows_that_do_not_scale)
{
	Report slow(rows_named("slow")), fast(rows_named("fast"));
	slow.add("slow", false, 2, round_of(1000, 1.79));
	fast.add("fast", false, 2, round_of(1000, 1.80));
	EXPECT_THAT(text_of(slow), HasSubstr("less than 1.8 times one: slow\n"));
	EXPECT_THAT(text_of(fast), Not(HasSubstr("less than")));
}

TEST(TheReport, shows_errors)
{
	Report report(rows_named("row"));
	EXPECT_FALSE(report.has_errors());
	report.add_error("row", true, 2, "reads: 1 counted, 2 done");
	report.add_error("row", true, 2, "a later error of the row");
	EXPECT_TRUE(report.has_errors());
	EXPECT_THAT(text_of(report),
		    HasSubstr("error: plain C of row with 2 threads: reads: 1 counted, 2 done\n"));
	EXPECT_THAT(text_of(report), Not(HasSubstr("later")));
}

} /* namespace */

int main(int argc, char **argv)
{
	host::real_cpus();
	load_module();
	::testing::InitGoogleTest(&argc, argv);
	return RUN_ALL_TESTS();
}
