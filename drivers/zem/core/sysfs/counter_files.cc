// SPDX-License-Identifier: GPL-2.0
/*
 * /sys/module/zem/counters: a read-only file with a decimal number for each counter. The directory
 * is below the module's kobject because user builds for phones have no debugfs.
 */
#include "core/sysfs/counter_files.h"

#include "core/common/counters.h"
#include "core/records.h"
#include "kernel/api/module.h"
#include "kernel/api/printk.h"
#include "kernel/attribute_group.h"
#include "kernel/cpus.h"

namespace zem {

namespace {

constinit kobject *directory = nullptr;

ssize_t show(char *page, u64 value)
{
	return sysfs_emit(page, "%llu\n", value);
}

template <Counter counter>
ssize_t counter_show(kobject *, kobj_attribute *, char *page)
{
	return show(page, counted(counter));
}

/* Totals of one CPU's events in the ring buffer. */
struct RingTotals {
	u64 pushed;
	u64 overwritten;
};

/*
 * Every committed event is pending, overwritten or read. The consumer may move events between the
 * three reads. If two samples of the overwritten and read events are equal, the sample of the
 * pending events between them is consistent.
 */
RingTotals ring_totals(trace_buffer *ring, int cpu)
{
	constexpr int kSamples = 100;
	u64 overwritten = ring_buffer_overrun_cpu(ring, cpu);
	u64 read = ring_buffer_read_events_cpu(ring, cpu);
	u64 pending = 0;
	for (int sample = 0; sample < kSamples; sample++) {
		pending = ring_buffer_entries_cpu(ring, cpu);
		const u64 overwritten_then = ring_buffer_overrun_cpu(ring, cpu);
		const u64 read_then = ring_buffer_read_events_cpu(ring, cpu);
		if (overwritten_then == overwritten && read_then == read)
			break;
		overwritten = overwritten_then;
		read = read_then;
	}
	return {.pushed = pending + overwritten + read, .overwritten = overwritten};
}

RingTotals ring_totals()
{
	RingTotals sum{};
	trace_buffer *ring = buffer.load();
	for (const unsigned int cpu : PossibleCpus()) {
		const RingTotals one = ring_totals(ring, static_cast<int>(cpu));
		sum.pushed += one.pushed;
		sum.overwritten += one.overwritten;
	}
	return sum;
}

ssize_t pushed_show(kobject *, kobj_attribute *, char *page)
{
	return show(page, ring_totals().pushed);
}

ssize_t overwritten_show(kobject *, kobj_attribute *, char *page)
{
	return show(page, ring_totals().overwritten);
}

constexpr attribute_row kFiles[] = {
	{"records_pushed", 0444, pushed_show, nullptr},
	{"records_overwritten", 0444, overwritten_show, nullptr},
	{"records_refused", 0444, counter_show<Counter::kRecordsRefused>, nullptr},
	{"records_too_large", 0444, counter_show<Counter::kRecordsTooLarge>, nullptr},
	{"records_dropped", 0444, counter_show<Counter::kRecordsDropped>, nullptr},
	{"notify_timeouts", 0444, counter_show<Counter::kNotifyTimeouts>, nullptr},
	{"empty_passes", 0444, counter_show<Counter::kEmptyPasses>, nullptr},
	{"uids_refused", 0444, counter_show<Counter::kUidsRefused>, nullptr},
	{"svp_tasks_refused", 0444, counter_show<Counter::kSvpTasksRefused>, nullptr},
};

constexpr size_t kFileCount = sizeof(kFiles) / sizeof(kFiles[0]);
static_assert(kFileCount == 2 + static_cast<size_t>(Counter::kCount));

constinit AttributeGroup<kFileCount> files;

} /* namespace */

void counter_files_create()
{
	directory = kobject_create_and_add("counters", helper_module_kobject());
	if (directory && files.create(directory, kFiles)) {
		kobject_put(directory);
		directory = nullptr;
	}
	if (!directory)
		pr_warn("zem: no memory for /sys/module/zem/counters\n");
}

void counter_files_remove()
{
	if (!directory)
		return;
	files.remove(directory);
	kobject_put(directory);
	directory = nullptr;
}

} /* namespace zem */
