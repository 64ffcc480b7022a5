// SPDX-License-Identifier: GPL-2.0
/*
 * Does the work of the handlers as kernel code usually does: this_cpu pointer and its lock, chain
 * of comparisons.
 */
#include <linux/build_bug.h>
#include <linux/cgroup.h>
#include <linux/cpumask.h>
#include <linux/percpu.h>
#include <linux/sched.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include "../../drivers/zem/platform/contract.h"
#include "load_floor.h"

#define ROOT_ID 1
#define FIRST_ID 2
#define LAST_ID 20

enum delay { LATENCY, D_IO, D_OTHER, DELAYS };
enum row { TOTAL, ROOT, FOREGROUND, TOP_APP, BACKGROUND, SYSTEM_BACKGROUND, SVP, ROWS };

static_assert(ROWS * DELAYS == HEALTH_SUMS);

struct health {
	raw_spinlock_t lock;
	u64 sums[ROWS][DELAYS];
};

static DEFINE_PER_CPU(struct health, health) = {
	.lock = __RAW_SPIN_LOCK_UNLOCKED(health.lock),
};
static u32 health_enable = 1;
/* foreground, background, top-app, system-background */
static u32 group_ids[4];

void floor_health_enable(bool on)
{
	WRITE_ONCE(health_enable, on);
}

void floor_find_groups(void)
{
	static const char *const names[] = {"foreground", "background", "top-app",
					    "system-background"};

	for (int id = FIRST_ID; id <= LAST_ID; id++) {
		struct cgroup_subsys_state *css;

		rcu_read_lock();
		css = platform_cpu_css_from_id(id);
		for (size_t i = 0; css && i < ARRAY_SIZE(names); i++)
			if (!strcmp(css->cgroup->kn->name, names[i]))
				WRITE_ONCE(group_ids[i], id);
		rcu_read_unlock();
		if (!css)
			break;
	}
}

static int row_of(struct task_struct *task)
{
	struct css_set *set = rcu_dereference_raw(task->cgroups);
	struct cgroup_subsys_state *css = set ? set->subsys[cpu_cgrp_id] : NULL;
	u32 id = css ? css->id : -1;

	if (id == ROOT_ID)
		return ROOT;
	if (id == READ_ONCE(group_ids[0]))
		return FOREGROUND;
	if (id == READ_ONCE(group_ids[1]))
		return BACKGROUND;
	if (id == READ_ONCE(group_ids[2]))
		return TOP_APP;
	if (id == READ_ONCE(group_ids[3]))
		return SYSTEM_BACKGROUND;
	return TOTAL;
}

static __always_inline bool is_ready(const struct task_struct *task)
{
	if (!READ_ONCE(health_enable) || !task)
		return false;
	if (!READ_ONCE(group_ids[0]))
		floor_find_groups();
	return true;
}

static void record(struct task_struct *task, u64 delay, enum delay kind)
{
	bool is_svp = test_task_svp(task) & 1;
	int row = row_of(task);
	struct health *mine;

	mine = this_cpu_ptr(&health);
	raw_spin_lock(&mine->lock);
	mine->sums[TOTAL][kind] += delay;
	if (row != TOTAL)
		mine->sums[row][kind] += delay;
	if (is_svp)
		mine->sums[SVP][kind] += delay;
	raw_spin_unlock(&mine->lock);
}

void floor_stat_wait(void *data, struct task_struct *task, u64 delay)
{
	if (is_ready(task))
		record(task, delay, LATENCY);
}

void floor_stat_blocked(void *data, struct task_struct *task, u64 delay)
{
	if (is_ready(task))
		record(task, delay, task->in_iowait ? D_IO : D_OTHER);
}

void floor_health_sums(u64 sums[HEALTH_SUMS])
{
	int cpu;

	for (int i = 0; i < HEALTH_SUMS; i++)
		sums[i] = 0;
	for_each_possible_cpu(cpu)
		for (int i = 0; i < HEALTH_SUMS; i++)
			sums[i] += per_cpu_ptr(&health, cpu)->sums[i / DELAYS][i % DELAYS];
}
