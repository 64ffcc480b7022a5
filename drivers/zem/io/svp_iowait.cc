// SPDX-License-Identifier: GPL-2.0
/* IO waits of SVP tasks, by duration, with separate counters for the start of an app. */
#include "io/svp_iowait.h"

#include "kernel/api/task.h"
#include "kernel/atomic.h"
#include "platform/task_record.h"
#include "uapi/linux/zem.h"

namespace zem {

namespace {

/* The last ns of each class except the longest. */
constexpr u64 kLastOfClass[] = {
	999'999, 2'999'999, 9'999'999, 19'999'999, 49'999'999, 99'999'999,
};
constexpr size_t kClasses = sizeof(kLastOfClass) / sizeof(kLastOfClass[0]) + 1;
static_assert(kClasses == ZEM_LATENCY_BUCKETS);

constexpr u64 kLongUiWait = 5'000'001; /* ns */
constexpr u32 kUiTask = 1u << 12;

size_t class_of(u64 delay)
{
	size_t index = 0;
	while (index < kClasses - 1 && delay > kLastOfClass[index])
		index++;
	return index;
}

void count(zem_svp_stats &stats, u32 flags, u64 delay)
{
	atomic_add(delay, stats.iowait_total);
	atomic_add(1, stats.iowait_total_cnt);
	atomic_add(1, stats.iowait_duration[class_of(delay)]);

	int first = 0, second = 0, third = 0;
	test_app_starting_simple(&first, &second, &third);
	if (first == 1 && second == 1) {
		atomic_add(delay, stats.iowait_coldstart);
		atomic_add(1, stats.iowait_coldstart_cnt);
	} else if (first == 0 && delay >= kLongUiWait && flags & kUiTask) {
		atomic_add(1, stats.ui_iowait_long_cnt);
	}
}

} /* namespace */

/* The run-queue lock is an RCU read section. */
void svp_iowait_record(void *, task_struct *task, u64 delay)
{
	if (!task || !helper_task_in_iowait(task))
		return;
	if (const task_ext *record = record_of_counted(task))
		count(*record->svp_stats, read_once(record->flags), delay);
}

} /* namespace zem */
