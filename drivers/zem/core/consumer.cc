// SPDX-License-Identifier: GPL-2.0
/*
 * One pass for each signal of data_ready: at most one record of each CPU is moved, and user
 * space is told when the shared buffer should be collected. Runs in its own thread alone.
 */
#include "core/consumer.h"

#include "core/counters.h"
#include "core/records.h"
#include "core/shared_buffer.h"
#include "kernel/api/cpumask.h"
#include "kernel/api/kthread.h"
#include "kernel/api/printk.h"
#include "kernel/api/sysfs.h"

namespace zem {

namespace {

constexpr int kScannedCpus = 32;
constexpr unsigned long kHandBackWait = 1250; /* jiffies */
constexpr s64 kNotifyGap = 16; /* seconds */
constexpr s64 kNanosecondsPerSecond = 1'000'000'000;

/* What the thread keeps from pass to pass. */
struct Progress {
	kobject *node = nullptr;
	u64 last_data_time = 0; /* of the record that the last notification was about */
	u64 current_data_time = 0; /* of the record that was taken last */
	unsigned long owed_passes = 0; /* to be made up for after the next signal */
};

constinit Progress progress{};

/* Return: whether user space handed the buffer back in time. */
bool notify_and_wait()
{
	progress.last_data_time = progress.current_data_time;
	tmp_data_done.rearm();
	sysfs_notify(progress.node, nullptr, "trace");
	if (tmp_data_done.wait_for(kHandBackWait))
		return true;
	count(Counter::kNotifyTimeouts);
	return false;
}

void notify_and_keep()
{
	if (!notify_and_wait())
		pr_info("read data timeout\n");
}

/* Whole seconds, towards zero; negative when the clock was set back. */
s64 gap_in_seconds(u64 from, u64 to)
{
	return static_cast<s64>(to - from) / kNanosecondsPerSecond;
}

/* The record is copied whole, or dropped when nobody makes room for it in time. */
void take_record(const u8 *record)
{
	zem_record_header header;
	__builtin_memcpy(&header, record, sizeof(header));
	const u32 size = header.len + ZEM_HEADER_SIZE;
	const u64 previous_notification = progress.last_data_time;
	progress.current_data_time = header.timestamp;

	Append result = shared_buffer_append(record, size);
	if (result == Append::kNoRoom) {
		if (!notify_and_wait()) {
			count(Counter::kRecordsDropped);
			pr_info("read data timeout, drop it\n");
			return;
		}
		/* The hand-back emptied the buffer, and nobody else appends. */
		result = shared_buffer_append(record, size);
	}

	if (result == Append::kAboveNotifyLevel) {
		notify_and_keep();
		return;
	}
	if (progress.last_data_time != 0 &&
	    gap_in_seconds(previous_notification, header.timestamp) >= kNotifyGap)
		notify_and_keep();
}

/*
 * An interrupt's record is committed inside the reservation of what it interrupted, and cannot be
 * taken before the outer commit, but its signal may lead to a pass before that. The pass is then
 * owed. Each pass takes one record of each CPU, so no CPU needs more of them than it has @pending.
 */
void owe_pass(unsigned long pending)
{
	const unsigned long owed = progress.owed_passes;
	if (owed < pending)
		progress.owed_passes = owed + 1;
}

unsigned long take_owed_passes()
{
	const unsigned long owed = progress.owed_passes;
	progress.owed_passes = 0;
	return owed;
}

/* Return: 0. */
int read_ringbuffer_to_tempbuf()
{
	trace_buffer *source = buffer.load();
	if (!source) {
		pr_info("ring buffer is NULL\n");
		return 0;
	}
	bool moved = false;
	unsigned long most_pending = 0;
	for (int cpu = 0; cpu < kScannedCpus; cpu++) {
		if (!helper_cpu_online(static_cast<unsigned int>(cpu)))
			continue;
		const unsigned long pending = ring_buffer_entries_cpu(source, cpu);
		if (!pending)
			continue;
		u64 unused_time;
		ring_buffer_event *event = ring_buffer_consume(source, cpu, &unused_time, nullptr);
		if (!event) {
			if (pending > most_pending)
				most_pending = pending;
			continue;
		}
		take_record(static_cast<const u8 *>(ring_buffer_event_data(event)));
		moved = true;
	}
	owe_pass(most_pending);
	if (!moved)
		count(Counter::kEmptyPasses);
	return 0;
}

int ring_buffer_consumer_thread(void *)
{
	while (!kthread_should_stop()) {
		data_ready.wait();
		for (unsigned long passes = 1 + take_owed_passes(); passes; passes--)
			read_ringbuffer_to_tempbuf();
	}
	return 0;
}

} /* namespace */

task_struct *consumer_create(kobject *node)
{
	progress = {.node = node};
	return helper_kthread_create(ring_buffer_consumer_thread, nullptr, "rb_consumer");
}

void consumer_stop(task_struct *consumer)
{
	kthread_stop(consumer);
}

} /* namespace zem */
