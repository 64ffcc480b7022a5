// SPDX-License-Identifier: GPL-2.0
/*
 * The probes. They run under a run-queue lock with interrupts off, and write only this CPU's sums,
 * which have no other writer. A restart leaves the sums alone, and remembers where they stood.
 */
#include "load/health/sched_healthinfo.h"

#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "kernel/cgroup.h"
#include "kernel/cpus.h"
#include "kernel/err.h"
#include "kernel/guarded.h"
#include "kernel/percpu.h"
#include "kernel/relaxed.h"
#include "kernel/tracepoint.h"
#include "load/health/cgroup_ids.h"
#include "platform/task_record.h"

namespace zem {

namespace {

constinit Relaxed<u32> sched_healthinfo_enable{0};

struct SchedDataBuf {
	HealthSums sums; /* since load */
};

ZEM_PERCPU constinit PerCpu<SchedDataBuf> sched_data_buf;

/* The sums of each CPU at the last restart. */
class Baseline {
public:
	[[nodiscard]] HealthSums &of(unsigned int cpu) { return sums_.of(cpu).sums; }

private:
	static PerCpu<SchedDataBuf> sums_;
};

ZEM_PERCPU constinit PerCpu<SchedDataBuf> Baseline::sums_;

/* Locked by restarts and readers, so that a reader sees all of a restart or nothing. */
constinit Guarded<Baseline, Mutex> restart;

/* Return: the row of a group; kTotal for a group without a row. */
[[gnu::always_inline]] inline HealthRow row_of(int id)
{
	if (id == kRootGroupId)
		return HealthRow::kRoot;
	const auto group = static_cast<u32>(id);
	if (group == id_of(Group::kForeground))
		return HealthRow::kForeground;
	if (group == id_of(Group::kBackground))
		return HealthRow::kBackground;
	if (group == id_of(Group::kTopApp))
		return HealthRow::kTopApp;
	if (group == id_of(Group::kSystemBackground))
		return HealthRow::kSystemBackground;
	return HealthRow::kTotal;
}

void add(HealthSums &sums, HealthRow row, Delay kind, u64 delay)
{
	add_once(delay, sums[static_cast<size_t>(row)][static_cast<size_t>(kind)]);
}

enum class Event { kWaited, kBlocked };

Delay kind_of(const task_struct *task, Event event)
{
	if (event == Event::kWaited)
		return Delay::kLatency;
	return helper_task_in_iowait(task) ? Delay::kDStateIo : Delay::kDStateOther;
}

/* Until there is a foreground group, each event requests a search for the groups. */
[[gnu::always_inline]] inline void sched_data_record(task_struct *task, u64 delay, Event event)
{
	if (!id_of(Group::kForeground))
		get_cgroup_idx_from_probe();
	const Delay kind = kind_of(task, event);
	const HealthRow row = row_of(task_cpu_css_id(task));
	const bool is_svp = is_odd(test_task_svp(task));

	HealthSums &sums = sched_data_buf.mine().sums;
	add(sums, HealthRow::kTotal, kind, delay);
	if (row != HealthRow::kTotal)
		add(sums, row, kind, delay);
	if (is_svp)
		add(sums, HealthRow::kSvp, kind, delay);
}

bool is_wanted(const task_struct *task)
{
	/* Two branches: a comparison of both costs more while the accounting is off. */
	if (!sched_healthinfo_enable.load()) [[unlikely]]
		return false;
	return task;
}

void sched_latency_monitor(void *, task_struct *task, u64 delay)
{
	if (is_wanted(task))
		sched_data_record(task, delay, Event::kWaited);
}

void sched_blocked_monitor(void *, task_struct *task, u64 delay)
{
	if (is_wanted(task))
		sched_data_record(task, delay, Event::kBlocked);
}

void sched_healthinfo_clear()
{
	restart.with([](Baseline &before) {
		for (const unsigned int cpu : PossibleCpus()) {
			const HealthSums &now = sched_data_buf.of(cpu).sums;
			for (size_t row = 0; row < kHealthRows; row++)
				for (size_t kind = 0; kind < kDelays; kind++)
					before.of(cpu)[row][kind] = read_once(now[row][kind]);
		}
	});
}

constinit ProbeSlot latency_probe;
constinit ProbeSlot blocked_probe;

} /* namespace */

void sched_healthinfo_init()
{
	cgroup_ids_init();
	restart.init("zem_sched_health");
	sched_healthinfo_restart();
	latency_probe.attach(&__tracepoint_sched_stat_wait, sched_latency_monitor);
	blocked_probe.attach(&__tracepoint_sched_stat_blocked, sched_blocked_monitor);
}

void sched_healthinfo_exit()
{
	latency_probe.detach();
	blocked_probe.detach();
	helper_tracepoint_synchronize_unregister();
	cgroup_ids_exit();
}

void sched_healthinfo_restart()
{
	sched_healthinfo_clear();
	sched_healthinfo_enable.store(1);
	get_cgroup_idx();
}

void sched_healthinfo_stop()
{
	sched_healthinfo_enable.store(0);
}

u32 sched_healthinfo_enabled()
{
	return sched_healthinfo_enable.load();
}

void sched_healthinfo_sum(HealthTriple &a, const HealthTriple &b)
{
	for (size_t i = 0; i < kDelays; i++)
		a[i] += b[i];
}

void add_sched_healthinfo(unsigned int cpu, HealthSums &out)
{
	const HealthSums &now = sched_data_buf.of(cpu).sums;
	restart.with([&](Baseline &before) {
		for (size_t row = 0; row < kHealthRows; row++)
			for (size_t kind = 0; kind < kDelays; kind++)
				out[row][kind] +=
					read_once(now[row][kind]) - before.of(cpu)[row][kind];
	});
}

int get_sched_healthinfo(HealthSums *out)
{
	if (is_err_or_null(out))
		return 0;
	for (const unsigned int cpu : PossibleCpus())
		add_sched_healthinfo(cpu, *out);
	return 1;
}

} /* namespace zem */
