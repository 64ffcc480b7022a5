// SPDX-License-Identifier: GPL-2.0
/*
 * Runs a cycle every five seconds. A missed deadline is skipped, and the deadline is reset after a
 * suspend.
 */
#include "core/collector.h"

#include "core/families.h"
#include "kernel/api/kthread.h"
#include "kernel/api/printk.h"
#include "kernel/duration.h"
#include "kernel/guarded.h"

namespace zem {

namespace {

constexpr unsigned long kCycle = 1250; /* jiffies */
constexpr unsigned long kCatchUpStep = 2 * kCycle;

constinit task_struct *common_thread = nullptr;

/* Deadline of the next cycle. It is kept when the thread is stopped and started again. */
constinit Guarded<unsigned long, SpinLock> next_jiffies;

constinit CycleCounters thread_cycle;
constinit CycleCounters trigger_cycle;

/* Returns the jiffies from @from to @to; negative if @to is earlier. Handles wrap-around. */
long jiffies_between(unsigned long from, unsigned long to)
{
	return static_cast<long>(to - from);
}

unsigned long deadline()
{
	return next_jiffies.with([](unsigned long &deadline) { return deadline; });
}

/*
 * Moves a missed deadline beyond @now in whole steps. The number of steps is computed, because
 * after load the deadline is hours of jiffies in the past.
 */
void catch_up(unsigned long now)
{
	next_jiffies.with([now](unsigned long &deadline) {
		const auto late = static_cast<unsigned long>(jiffies_between(deadline, now));
		deadline += (late / kCatchUpStep + 1) * kCatchUpStep;
	});
}

/* Sleeps until the deadline. Return: false if the thread must stop. */
bool sleep_to_deadline()
{
	unsigned long now = jiffies;
	while (jiffies_between(deadline(), now) >= 0) {
		catch_up(now);
		if (kthread_should_stop())
			return false;
		now = jiffies;
	}
	msleep(static_cast<unsigned int>(milliseconds(Jiffies{deadline() - now}).count));
	return true;
}

void rebase_after_suspend()
{
	const unsigned long now = jiffies;
	if (jiffies_between(deadline(), now) <= static_cast<long>(kCycle))
		return;
	next_jiffies.with([now](unsigned long &deadline) { deadline = now; });
	pr_info("system suspend and resume\n");
}

int common_getdata_thread(void *)
{
	while (!kthread_should_stop()) {
		if (!sleep_to_deadline())
			break;
		rebase_after_suspend();
		thread_cycle.run_periodic();
		next_jiffies.with([](unsigned long &deadline) { deadline += kCycle; });
	}
	return 0;
}

} /* namespace */

void collector_init()
{
	next_jiffies.init("zem_trigger_lock");
}

bool collector_is_running()
{
	return common_thread;
}

bool collector_start()
{
	common_thread =
		helper_kthread_create(common_getdata_thread, nullptr, "ts_timer_getdata_thread");
	if (!common_thread)
		return false;
	wake_up_process(common_thread);
	return true;
}

void collector_stop()
{
	kthread_stop(common_thread);
	common_thread = nullptr;
}

void common_getdata()
{
	trigger_cycle.run_triggered();
}

} /* namespace zem */
