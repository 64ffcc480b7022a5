// SPDX-License-Identifier: GPL-2.0
/*
 * Turning the switch on starts the periodic collector, and turning it off stops it. At load the
 * switch is on but no collector runs, so starting it the first time takes a 0 and then a 1.
 */
#include "core/sysfs/trace_switch.h"

#include "core/collector.h"
#include "core/settings.h"
#include "kernel/api/parse.h"
#include "kernel/api/printk.h"
#include "kernel/errno.h"
#include "kernel/lock.h"

namespace zem {

namespace {

/* Serialises writers, so that the thread is not started or stopped twice. */
constinit Mutex switch_lock;

int turn_on()
{
	pr_info("trace_on enable\n");
	if (collector_is_running() || collector_start())
		return 0;
	pr_err("failed to restart getdata_thread\n");
	return -EINVAL;
}

void turn_off()
{
	pr_info("trace_on disable\n");
	if (collector_is_running())
		collector_stop();
}

} /* namespace */

void trace_switch_init()
{
	switch_lock.init("zem_trace_switch");
}

void trace_switch_stop_collector()
{
	LockGuard guard(switch_lock);
	if (collector_is_running())
		collector_stop();
}

ssize_t trace_on_show(kobject *, kobj_attribute *, char *page)
{
	return sysfs_emit(page, "%d\n", trace_on.load());
}

ssize_t trace_on_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	int value;
	if (sscanf(text, "%d", &value) != 1 || (value != 0 && value != 1))
		return -EINVAL;

	LockGuard guard(switch_lock);
	const int previous = trace_on.load();
	trace_on.store(value);
	if (value == previous)
		return static_cast<ssize_t>(count);

	if (value == 0)
		turn_off();
	else if (const int error = turn_on())
		return error;
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
