// SPDX-License-Identifier: GPL-2.0
/* Creates tasks, raises hooks, and accesses the module's counters. */
#include "host/sched_fixture.h"

namespace test {

u64 *CpuCounters::sum_of(Metric metric)
{
	switch (metric) {
	case Metric::kIrqtime:
		return nullptr;
	case Metric::kRuntime:
		return &runtime_sum;
	case Metric::kRundelay:
		return &rundelay_sum;
	case Metric::kDState:
		return &d_state_sum;
	}
	return nullptr;
}

TaskCounters TaskCounters::of(zem_svp_stats &stats, Metric metric)
{
	switch (metric) {
	case Metric::kRuntime:
		return {stats.runtime, stats.runtime_total};
	case Metric::kRundelay:
		return {stats.run_delay, stats.run_delay_total};
	default:
		return {stats.d_state_duration, stats.d_state_duration_total};
	}
}

sim::Task *SchedTest::make_task(int pid, Standing standing)
{
	sim::Task &task = kernel.platform.make_task(
		{.pid = pid, .svp = standing != kNotSvp, .orig_svp = standing == kSvpWithStats});
	if (standing == kSvpWithStats)
		kernel.hooks.rs_warn_set_svp_task(&task);
	return &task;
}

void SchedTest::set_svp(sim::Task *task, int svp, int orig_svp)
{
	task->fields.svp = svp;
	task->fields.orig_svp = orig_svp;
}

zem_svp_stats &SchedTest::stats(const sim::Task *task)
{
	zem_svp_stats *stats = task->record.svp_stats;
	if (!stats)
		throw std::runtime_error("the task has no counters");
	return *stats;
}

void SchedTest::raise(Metric metric, task_struct *task, u64 ns)
{
	switch (metric) {
	case Metric::kIrqtime:
		return kernel.hooks.irqtime_account_hardirq(ns);
	case Metric::kRuntime:
		return kernel.hooks.sched_info_depart(task, ns);
	case Metric::kRundelay:
		return kernel.hooks.sched_info_arrive(task, ns);
	case Metric::kDState:
		return kernel.hooks.task_d_state_dura_record(task, ns);
	}
}

CpuCounters &SchedTest::counters(unsigned int cpu)
{
	return *static_cast<CpuCounters *>(inside().sched_counters(cpu));
}

u64 &SchedTest::time(unsigned int cpu, Metric metric)
{
	u64 *sum = counters(cpu).sum_of(metric);
	return sum ? *sum : *static_cast<u64 *>(helper_per_cpu_ptr(&cpu_irqtime, cpu));
}

std::vector<unsigned int> SchedTest::possible_cpus() const
{
	std::vector<unsigned int> cpus;
	for (unsigned int cpu = 0; cpu < kernel.cpus.ids(); cpu++)
		if (kernel.cpus.possible(cpu))
			cpus.push_back(cpu);
	return cpus;
}

std::string SchedTest::read_proc(const std::string &path)
{
	const sim::ReadResult read = kernel.proc.read(path);
	return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
}

ssize_t SchedTest::write_proc(const std::string &path, std::string_view text)
{
	return kernel.proc.write(path, text);
}

} /* namespace test */
