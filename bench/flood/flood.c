// SPDX-License-Identifier: GPL-2.0
/*
 * zem_flood.ko: a write of
 *
 *	zem|event LEN CPUS RATE MS
 *
 * to the debugfs file zem_flood pushes RATE records of LEN bytes a second on each of the first CPUS
 * CPUs, and returns after MS milliseconds. zem pushes them through the setter of the test channel,
 * which adds the header; event raises the event zem_flood_record. A read returns the records pushed
 * and the ns that they took, of the last write. A CPU that cannot push at that rate pushes as fast
 * as it can.
 */
#include <linux/completion.h>
#include <linux/cpumask.h>
#include <linux/debugfs.h>
#include <linux/delay.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/ktime.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/sched.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/uaccess.h>

#include <linux/zem.h>

#define CREATE_TRACE_POINTS
#include "flood_event.h"

#define LONGEST_RECORD 4000
/* The records between two looks at the clock. */
#define BATCH 16

struct flood {
	void (*push)(const void *record, u32 len);
	u32 len;
	unsigned int cpus;
	u64 rate; /* records a second, of each CPU */
	u64 ns;
};

/* The flood on one CPU. */
struct stream {
	const struct flood *flood;
	u64 pushed;
	struct completion done;
};

static u8 record[LONGEST_RECORD];
static DEFINE_MUTEX(flood_lock);
static u64 last_pushed, last_ns;

static void push_to_zem(const void *data, u32 len)
{
	test_zem_set(0, data, len - sizeof(struct zem_record_header), 1);
}

static void raise_event(const void *data, u32 len)
{
	trace_zem_flood_record(data, len);
}

static int stream_records(void *data)
{
	struct stream *stream = data;
	const struct flood *flood = stream->flood;
	u64 begin = ktime_get_ns(), passed = 0;

	while (passed < flood->ns) {
		/* Millionths, because a record may be due only after many looks. */
		u64 due = div_u64(passed, NSEC_PER_USEC) * flood->rate;

		if (stream->pushed * USEC_PER_SEC >= due) {
			usleep_range(200, 500);
		} else {
			for (int i = 0; i < BATCH; i++)
				flood->push(record, flood->len);
			stream->pushed += BATCH;
			cond_resched();
		}
		passed = ktime_get_ns() - begin;
	}
	kthread_complete_and_exit(&stream->done, 0);
}

static int start(struct stream *stream, const struct flood *flood, unsigned int cpu)
{
	struct task_struct *task;

	stream->flood = flood;
	init_completion(&stream->done);
	task = kthread_create(stream_records, stream, "zem_flood/%u", cpu);
	if (IS_ERR(task))
		return PTR_ERR(task);
	kthread_bind(task, cpu);
	wake_up_process(task);
	return 0;
}

static int run(const struct flood *flood)
{
	struct stream *streams = kcalloc(flood->cpus, sizeof(*streams), GFP_KERNEL);
	u64 begin = ktime_get_ns(), pushed = 0;
	unsigned int started = 0;
	int error = streams ? 0 : -ENOMEM;

	while (!error && started < flood->cpus) {
		error = start(&streams[started], flood, started);
		if (!error)
			started++;
	}
	for (unsigned int i = 0; i < started; i++) {
		wait_for_completion(&streams[i].done);
		pushed += streams[i].pushed;
	}
	last_pushed = pushed;
	last_ns = ktime_get_ns() - begin;
	kfree(streams);
	return error;
}

static int parse(struct flood *flood, const char *text)
{
	char method[8];
	unsigned int ms;

	if (sscanf(text, "%7s %u %u %llu %u", method, &flood->len, &flood->cpus, &flood->rate,
		   &ms) != 5)
		return -EINVAL;
	if (!strcmp(method, "zem"))
		flood->push = push_to_zem;
	else if (!strcmp(method, "event"))
		flood->push = raise_event;
	else
		return -EINVAL;
	flood->ns = ms * (u64)NSEC_PER_MSEC;
	if (flood->len < sizeof(struct zem_record_header) || flood->len > LONGEST_RECORD ||
	    !flood->cpus || flood->cpus > num_online_cpus() || !flood->rate)
		return -EINVAL;
	return 0;
}

static ssize_t flood_write(struct file *file, const char __user *from, size_t count,
			   loff_t *position)
{
	char text[64] = {};
	struct flood flood;
	int error;

	if (count >= sizeof(text))
		return -EINVAL;
	if (copy_from_user(text, from, count))
		return -EFAULT;
	error = parse(&flood, text);
	if (error)
		return error;
	mutex_lock(&flood_lock);
	error = run(&flood);
	mutex_unlock(&flood_lock);
	return error ?: count;
}

static ssize_t flood_read(struct file *file, char __user *to, size_t count, loff_t *position)
{
	char text[48];
	int size;

	mutex_lock(&flood_lock);
	size = scnprintf(text, sizeof(text), "%llu %llu\n", last_pushed, last_ns);
	mutex_unlock(&flood_lock);
	return simple_read_from_buffer(to, count, position, text, size);
}

static const struct file_operations flood_operations = {
	.owner = THIS_MODULE,
	.read = flood_read,
	.write = flood_write,
};

static struct dentry *flood_file;

static int __init flood_init(void)
{
	for (size_t i = 0; i < sizeof(record); i++)
		record[i] = i;
	flood_file = debugfs_create_file("zem_flood", 0600, NULL, NULL, &flood_operations);
	return PTR_ERR_OR_ZERO(flood_file);
}
module_init(flood_init);

static void __exit flood_exit(void)
{
	debugfs_remove(flood_file);
}
module_exit(flood_exit);

MODULE_DESCRIPTION("Records at a given rate, for comparisons of their readers");
MODULE_LICENSE("GPL");
