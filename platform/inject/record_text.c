// SPDX-License-Identifier: GPL-2.0
/*
 * Shows a task's record as text, with a line for each field: its name and its values. A write of a
 * process id to "record" chooses the task for all readers.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/sched.h>
#include <linux/sched/task.h>
#include <linux/seq_file.h>

#include <linux/zem.h>

#include "common/commands.h"
#include "contract/task_records.h"
#include "parts.h"
#include "records.h"

static pid_t shown_pid;

#define FIELD(name) \
	{#name, offsetof(struct zem_svp_stats, name), sizeof_field(struct zem_svp_stats, name)}

/* Each field is one u64, or one or several u32. */
static const struct field {
	const char *name;
	size_t offset;
	size_t size;
} stats_fields[] = {
	FIELD(run_delay),	 FIELD(run_delay_total),
	FIELD(runtime),		 FIELD(runtime_total),
	FIELD(d_state_duration), FIELD(d_state_duration_total),
	FIELD(async_reclaim),	 FIELD(async_compact),
	FIELD(direct_reclaim),	 FIELD(direct_compact),
	FIELD(PG_locked),	 FIELD(alloc_fail_order),
	FIELD(iowait_total),	 FIELD(iowait_total_cnt),
	FIELD(iowait_coldstart), FIELD(iowait_coldstart_cnt),
	FIELD(iowait_duration),	 FIELD(ui_iowait_long_cnt),
	FIELD(read_bytes),	 FIELD(read_syscall_cnt),
	FIELD(write_bytes),	 FIELD(write_syscall_cnt),
	FIELD(bio_read_size),	 FIELD(bio_read_time),
	FIELD(bio_read_cnt),	 FIELD(bio_write_size),
	FIELD(bio_write_time),	 FIELD(bio_write_cnt),
};

static void show_field(struct seq_file *file, const struct field *field, const void *stats)
{
	const void *value = stats + field->offset;

	seq_puts(file, field->name);
	if (field->size == sizeof(u64))
		seq_printf(file, " %llu", READ_ONCE(*(const u64 *)value));
	else
		for (size_t i = 0; i < field->size / sizeof(u32); i++)
			seq_printf(file, " %u", READ_ONCE(((const u32 *)value)[i]));
	seq_putc(file, '\n');
}

static void show_pair(struct seq_file *file, const char *name, const u64 *values)
{
	seq_printf(file, "%s %llu %llu\n", name, READ_ONCE(values[0]), READ_ONCE(values[1]));
}

static void show_load_block(struct seq_file *file, const u64 *values)
{
	seq_puts(file, "load_block");
	for (int i = 0; values && i < PLATFORM_LOAD_WORDS; i++)
		seq_printf(file, " %llu", READ_ONCE(values[i]));
	seq_putc(file, '\n');
}

static int show_record(struct task_record *record, void *argument)
{
	struct seq_file *file = argument;
	const struct task_ext *ext = &record->ext;
	/* Pairs with zem's release, before which zem has zeroed the block. */
	const void *stats = smp_load_acquire(&ext->svp_stats);
	char comm[TASK_COMM_LEN];

	get_task_comm(comm, ext->task);
	seq_printf(file, "tgid %d\npid %d\nthread_name %s\npackage_name %s\n", ext->task->tgid,
		   ext->task->pid, comm, READ_ONCE(ext->package_name));
	seq_printf(file, "flags %x\nsvp %d\npinned %d\ntop_app %d\nsvp_marker %u\n",
		   READ_ONCE(ext->flags), READ_ONCE(record->svp), READ_ONCE(record->pinned),
		   READ_ONCE(record->in_top_app), READ_ONCE(ext->svp_marker));
	seq_printf(file, "in_iowait %d\n", ext->task->in_iowait);
	seq_printf(file, "pending_run_delay %llu\nlisted %d\nstats %d\n",
		   READ_ONCE(ext->pending_run_delay),
		   READ_ONCE(ext->node.next) != TASK_EXT_UNLISTED, !!stats);
	for (size_t i = 0; stats && i < ARRAY_SIZE(stats_fields); i++)
		show_field(file, &stats_fields[i], stats);
	show_pair(file, "previous_denominators", ext->previous_denominators);
	show_pair(file, "counter_a", ext->counter_a);
	show_pair(file, "counter_b", ext->counter_b);
	show_pair(file, "counter_c", ext->counter_c);
	show_pair(file, "counter_d", ext->counter_d);
	show_load_block(file, READ_ONCE(ext->load_block));
	return 0;
}

/* The task is looked up by its process id, because it may have exited since it was chosen. */
static int record_show(struct seq_file *file, void *unused)
{
	char pid[16];

	snprintf(pid, sizeof(pid), "%d", READ_ONCE(shown_pid));
	return with_record(pid, show_record, file);
}

static int record_run(char *text)
{
	struct task_struct *task = command_task(text);

	if (IS_ERR(task))
		return PTR_ERR(task);
	WRITE_ONCE(shown_pid, task->pid);
	put_task_struct(task);
	return 0;
}

static const struct command_file record = {.run = record_run, .show = record_show};

void record_text_init(struct dentry *directory)
{
	command_file_create("record", directory, &record);
}
