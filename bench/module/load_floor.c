// SPDX-License-Identifier: GPL-2.0
/*
 * What the handlers of the load feed and of the scheduler's statistics do, written the way the
 * kernel writes it: static branch, this_cpu pointer and its lock, chain of comparisons.
 */
#include <linux/atomic.h>
#include <linux/bug.h>
#include <linux/cgroup.h>
#include <linux/err.h>
#include <linux/jump_label.h>
#include <linux/percpu.h>
#include <linux/sched.h>
#include <linux/spinlock.h>
#include <linux/string.h>

#include "../../drivers/zem/platform/contract.h"
#include "load_floor.h"

#define CLUSTERS 2
#define ROOT_ID 1
#define FIRST_ID 2
#define LAST_ID 20

enum delay { LATENCY, D_IO, D_OTHER, DELAYS };
enum row { TOTAL, ROOT, FOREGROUND, TOP_APP, BACKGROUND, SYSTEM_BACKGROUND, SVP, ROWS };

struct health {
	raw_spinlock_t lock;
	u64 sums[ROWS][DELAYS];
};

static DEFINE_STATIC_KEY_TRUE(load_enable);
static u64 scale[CLUSTERS] = {12945, 16218};

static DEFINE_PER_CPU(struct health, health) = {
	.lock = __RAW_SPIN_LOCK_UNLOCKED(health.lock),
};
static u32 health_enable = 1;
/* foreground, background, top-app, system-background */
static u32 group_ids[4];

void floor_load_enable(bool on)
{
	if (on)
		static_branch_enable(&load_enable);
	else
		static_branch_disable(&load_enable);
	WRITE_ONCE(health_enable, on);
}

/* The leader of a task that is not being released stays for an RCU reader. */
void floor_load_feed(struct task_struct *task, u32 cluster, u64 delta)
{
	struct task_struct *leader;
	struct task_ext *record;
	int exit_state;
	u64 *block;

	if (!static_branch_likely(&load_enable))
		return;
	exit_state = READ_ONCE(task->exit_state);
	if (exit_state == EXIT_DEAD || exit_state == EXIT_ZOMBIE)
		return;
	leader = READ_ONCE(task->group_leader);
	if (!leader || !leader->pid)
		return;
	record = platform_task_ext(leader);
	if (IS_ERR_OR_NULL(record))
		return;
	BUG_ON(cluster >= CLUSTERS);
	block = smp_load_acquire(&record->load_block);
	if (block)
		atomic64_add(READ_ONCE(scale[cluster]) * delta, (atomic64_t *)&block[1]);
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
	struct health *mine;
	int row;

	mine = this_cpu_ptr(&health);
	raw_spin_lock(&mine->lock);
	mine->sums[TOTAL][kind] += delay;
	row = row_of(task);
	if (row != TOTAL)
		mine->sums[row][kind] += delay;
	if (test_task_svp(task) & 1)
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
