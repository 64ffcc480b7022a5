// SPDX-License-Identifier: GPL-2.0
/*
 * Makes one pass for each ring of data_ready. A pass moves at most one record of each CPU to the
 * shared buffer, and notifies user space when the buffer should be collected. All functions run in
 * the consumer thread.
 */
#include "core/consumer.h"

#include "core/common/counters.h"
#include "core/records.h"
#include "core/shared_buffer.h"
#include "kernel/api/cpumask.h"
#include "kernel/api/kthread.h"
#include "kernel/api/printk.h"
#include "kernel/api/sysfs.h"

namespace zem {

namespace {

constexpr unsigned int kScannedCpus = 32;
constexpr Jiffies kHandBackWait{1250};
constexpr s64 kNotifyGap = 16; /* seconds */
constexpr s64 kNanosecondsPerSecond = 1'000'000'000;

/* State that the thread keeps between passes. */
struct Progress {
	kobject *node = nullptr;
	u64 last_data_time = 0; /* time stamp of the record that caused the last notification */
	u64 current_data_time = 0; /* time stamp of the last record */
	unsigned long owed_passes = 0; /* extra passes to make after the next signal */
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

/* Returns whole seconds, rounded towards zero; negative if the clock was set back. */
s64 gap_in_seconds(u64 from, u64 to)
{
	return static_cast<s64>(to - from) / kNanosecondsPerSecond;
}

/* Copies the whole record, or drops it if the buffer is not handed back in time. */
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
		/* The hand-back emptied the buffer, and only this thread appends. */
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
 * A record that an interrupt commits inside an outer reservation cannot be taken before the outer
 * commit, but its signal may cause a pass before that. Such a pass is owed. Each pass takes one
 * record of each CPU, so at most @pending passes are needed.
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

int read_ringbuffer_to_tempbuf()
{
	trace_buffer *source = buffer.load();
	if (!source) {
		pr_info("ring buffer is NULL\n");
		return 0;
	}
	bool moved = false;
	unsigned long most_pending = 0;
	const unsigned int ids = helper_nr_cpu_ids();
	const int end = static_cast<int>(ids < kScannedCpus ? ids : kScannedCpus);
	for (int cpu = 0; cpu < end; cpu++) {
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
