// SPDX-License-Identifier: GPL-2.0
/* Runs the cases of a comparison on both sides. Only one comparison runs at a time. */
#include <linux/err.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/list.h>
#include <linux/llist.h>
#include <linux/minmax.h>
#include <linux/rcupdate.h>
#include <linux/string.h>

#include "../../drivers/zem/platform/contract.h"
#include "compare.h"

/* ns: less than a result of a time may differ by. */
#define TIME_SLACK 50000

/* Sets @results to what the case adds. */
static int run_case(const struct compared_side *side, unsigned int index, u64 *results,
		    size_t count)
{
	static u64 before[MOST_RESULTS];
	unsigned long flags;
	int error = side->read(index, before);

	if (error)
		return error;
	local_irq_save(flags);
	side->call(index);
	local_irq_restore(flags);
	error = side->read(index, results);
	for (size_t i = 0; i < count; i++)
		results[i] -= before[i];
	return error;
}

static bool is_equal(const struct comparison *comparison, size_t result, u64 zem, u64 floor)
{
	if (result < comparison->results - comparison->times)
		return zem == floor;
	return max(zem, floor) - min(zem, floor) < TIME_SLACK;
}

static void report_difference(const struct comparison *comparison, unsigned int index,
			      size_t result, u64 zem, u64 floor)
{
	pr_err("zem_bench: %s, case %u: the figures are wrong\n", comparison->name, index);
	pr_err("zem_bench: result %zu is %llu in zem, %llu in plain C\n", result, zem, floor);
}

int compare(const struct comparison *comparison)
{
	static u64 zem[MOST_RESULTS], floor[MOST_RESULTS];
	bool has_results = false;

	if (WARN_ON(comparison->results > MOST_RESULTS))
		return -EINVAL;
	for (unsigned int index = 0; index < comparison->cases; index++) {
		int error = run_case(&comparison->zem, index, zem, comparison->results) ?:
				    run_case(&comparison->floor, index, floor, comparison->results);

		for (size_t i = 0; i < comparison->results && !error; i++) {
			has_results |= zem[i];
			if (is_equal(comparison, i, zem[i], floor[i]))
				continue;
			report_difference(comparison, index, i, zem[i], floor[i]);
			error = -EINVAL;
		}
		if (error)
			return error;
	}
	if (has_results)
		return 0;
	pr_err("zem_bench: %s has no results, the figures are wrong\n", comparison->name);
	return -EINVAL;
}

void read_task_stats(struct task_struct *task, u64 *words)
{
	struct task_ext *record;

	memset(words, 0, STATS_WORDS * sizeof(*words));
	rcu_read_lock();
	record = platform_task_ext(task);
	if (!IS_ERR_OR_NULL(record) && record->svp_stats)
		memcpy(words, record->svp_stats, STATS_WORDS * sizeof(*words));
	rcu_read_unlock();
}
