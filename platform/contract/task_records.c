// SPDX-License-Identifier: GPL-2.0
/*
 * Keeps the task records: a hash table by the task's address that readers walk under RCU. Each CPU
 * also remembers the record that it found last, because the hooks of a context switch look the same
 * task up several times. A process id would not do as the key: exec exchanges two of them.
 */
#include <linux/debugfs.h>
#include <linux/errno.h>
#include <linux/export.h>
#include <linux/hash.h>
#include <linux/kernel.h>
#include <linux/mutex.h>
#include <linux/percpu.h>
#include <linux/rculist.h>
#include <linux/sched/clock.h>
#include <linux/sched/task.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/workqueue.h>

#include "task_records.h"

#define BUCKET_BITS 12
/* The key of records whose task has been released: neither NULL nor the address of a task. */
#define NO_TASK ((const void *)-ESRCH)
/* From a release to the sweep, and from a sweep to the next while zem lists released records. */
#define SWEEP_DELAY (HZ / 10)
#define SWEEP_AGAIN_DELAY HZ

/* Serialises writers of the table and the counts. Readers of the table hold rcu_read_lock(). */
static DEFINE_RAW_SPINLOCK(table_lock);
static struct hlist_head table[1 << BUCKET_BITS];
static struct {
	u64 made;
	u64 freed;
	u64 living;
	u64 waiting;
	u64 missed;
} counts;

static struct kmem_cache *record_cache;

const char no_package[] = "";

/* The record that a CPU remembers before it has found one. */
static struct task_record nobody = {.key = NO_TASK};
DEFINE_PER_CPU(struct task_record *, task_record_last_found);

static struct hlist_head *bucket_of(const struct task_struct *task)
{
	return &table[hash_ptr(task, BUCKET_BITS)];
}

static struct task_record *find_in_table(const struct task_struct *task)
{
	struct task_record *record;

	hlist_for_each_entry_rcu(record, bucket_of(task), bucket_entry,
				 lockdep_is_held(&table_lock))
		if (READ_ONCE(record->key) == task)
			return record;
	return NULL;
}

struct task_record *task_record_find_in_table(const struct task_struct *task)
{
	struct task_record *record = find_in_table(task);

	if (record)
		raw_cpu_write(task_record_last_found, record);
	return record;
}

struct task_ext *platform_task_ext(struct task_struct *task)
{
	struct task_record *record;

	rcu_read_lock();
	record = task_record_find(task);
	rcu_read_unlock();
	return record ? &record->ext : NULL;
}
EXPORT_SYMBOL_GPL(platform_task_ext);

/* Also needed at load: the loader does not relocate the initial values of per-CPU data. */
static void forget_last_found(void)
{
	int cpu;

	for_each_possible_cpu(cpu)
		WRITE_ONCE(*per_cpu_ptr(&task_record_last_found, cpu), &nobody);
}

static void free_record(struct task_record *record)
{
	if (record->ext.package_name != no_package)
		kfree(record->ext.package_name);
	kfree(record->ext.svp_stats);
	kmem_cache_free(record_cache, record);
}

/* Return: whether the task had no record. */
static bool insert(struct task_record *record, struct task_struct *task)
{
	unsigned long flags;
	bool is_new;

	raw_spin_lock_irqsave(&table_lock, flags);
	is_new = !find_in_table(task);
	if (is_new) {
		hlist_add_head_rcu(&record->bucket_entry, bucket_of(task));
		counts.made++;
		counts.living++;
	}
	raw_spin_unlock_irqrestore(&table_lock, flags);
	return is_new;
}

static void count_missed(void)
{
	unsigned long flags;

	raw_spin_lock_irqsave(&table_lock, flags);
	counts.missed++;
	raw_spin_unlock_irqrestore(&table_lock, flags);
}

struct task_record *task_record_create(struct task_struct *task)
{
	struct task_record *record = kmem_cache_zalloc(record_cache, GFP_ATOMIC | __GFP_NOWARN);

	if (!record) {
		count_missed();
		return NULL;
	}
	record->key = task;
	/* The task may run already, and the kernel then writes this under the run-queue lock. */
	record->delay_seen = data_race(task->sched_info.run_delay);
	record->ext.task = task;
	record->ext.package_name = no_package;
	record->ext.node.next = TASK_EXT_UNLISTED;
	record->ext.load_block = record->load_block;
	for (int i = 0; i < CLUSTERS; i++)
		record->counted_until[i] = local_clock();
	if (!insert(record, task)) {
		kmem_cache_free(record_cache, record);
		return NULL;
	}
	return record;
}

/* Records of released tasks: those that no sweep has seen, and those that no sweep could free. */
static LLIST_HEAD(released);
static DEFINE_MUTEX(sweep_lock);
static struct llist_node *waiting;

static void sweep(struct work_struct *work);
static DECLARE_DELAYED_WORK(sweep_work, sweep);

/* Caller holds table_lock. A reader that stands on the record can still walk on from it. */
static void release(struct task_record *record)
{
	hlist_del_rcu(&record->bucket_entry);
	WRITE_ONCE(record->key, NO_TASK);
	llist_add(&record->released, &released);
	counts.living--;
	counts.waiting++;
}

/* Only a caller that has held a reference for a grace period can still look the task up. */
void task_record_release(const struct task_struct *task)
{
	struct task_record *record;
	unsigned long flags;

	raw_spin_lock_irqsave(&table_lock, flags);
	record = find_in_table(task);
	if (record)
		release(record);
	raw_spin_unlock_irqrestore(&table_lock, flags);
	if (record)
		schedule_delayed_work(&sweep_work, SWEEP_DELAY);
}

/*
 * Caller holds sweep_lock. Adds the released records to the waiting records. After the first grace
 * period no reader uses a record that it found in the table, and no CPU remembers one from then on.
 * After the second no reader uses a record that a CPU remembered.
 */
static void collect_released(void)
{
	struct llist_node *first = llist_del_all(&released);
	struct llist_node *last = first;

	if (!first)
		return;
	while (last->next)
		last = last->next;
	last->next = waiting;
	waiting = first;

	synchronize_rcu();
	forget_last_found();
	synchronize_rcu();
}

/* Caller holds sweep_lock. Frees the waiting records that zem does not list. */
static void free_waiting(void)
{
	struct llist_node **place = &waiting;
	unsigned long flags;
	u64 freed = 0;

	while (*place) {
		struct task_record *record = llist_entry(*place, struct task_record, released);

		/* Pairs with zem's release, before which zem has read the record. */
		if (smp_load_acquire(&record->ext.node.next) != TASK_EXT_UNLISTED) {
			place = &record->released.next;
			continue;
		}
		*place = record->released.next;
		free_record(record);
		freed++;
		cond_resched();
	}

	raw_spin_lock_irqsave(&table_lock, flags);
	counts.waiting -= freed;
	counts.freed += freed;
	raw_spin_unlock_irqrestore(&table_lock, flags);
}

static void sweep(struct work_struct *work)
{
	mutex_lock(&sweep_lock);
	collect_released();
	free_waiting();
	if (waiting)
		schedule_delayed_work(&sweep_work, SWEEP_AGAIN_DELAY);
	mutex_unlock(&sweep_lock);
}

void task_records_visit(void (*visit)(struct task_record *record))
{
	struct task_record *record;
	unsigned long flags;

	raw_spin_lock_irqsave(&table_lock, flags);
	for (size_t i = 0; i < ARRAY_SIZE(table); i++)
		hlist_for_each_entry(record, &table[i], bucket_entry)
			visit(record);
	raw_spin_unlock_irqrestore(&table_lock, flags);
}

/* A listed record holds a reference on its task. */
static void unlist(struct task_record *record)
{
	struct task_struct *task = record->ext.task;

	if (record->ext.node.next == TASK_EXT_UNLISTED)
		return;
	WRITE_ONCE(record->ext.node.next, TASK_EXT_UNLISTED);
	put_task_struct(task);
}

void task_records_unlist(void)
{
	struct task_record *record;

	/* Not the last reference: a task that has not been released has another one. */
	task_records_visit(unlist);

	mutex_lock(&sweep_lock);
	collect_released();
	llist_for_each_entry(record, waiting, released)
		unlist(record);
	mutex_unlock(&sweep_lock);
}

static int records_show(struct seq_file *file, void *unused)
{
	typeof(counts) now;

	raw_spin_lock_irq(&table_lock);
	now = counts;
	raw_spin_unlock_irq(&table_lock);
	seq_printf(file, "made %llu\nliving %llu\nwaiting %llu\nfreed %llu\nmissed %llu\n",
		   now.made, now.living, now.waiting, now.freed, now.missed);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(records);

int task_records_init(struct dentry *directory)
{
	forget_last_found();
	/* A cache of its own: the kernel reports a record that is left in it. */
	record_cache = kmem_cache_create("zem_task_record", sizeof(struct task_record), 0,
					 SLAB_HWCACHE_ALIGN, NULL);
	if (!record_cache)
		return -ENOMEM;
	debugfs_create_file("records", 0444, directory, NULL, &records_fops);
	return 0;
}

void task_records_exit(void)
{
	cancel_delayed_work_sync(&sweep_work);

	task_records_unlist();
	task_records_visit(release);
	mutex_lock(&sweep_lock);
	collect_released();
	free_waiting();
	mutex_unlock(&sweep_lock);
	kmem_cache_destroy(record_cache);
}
