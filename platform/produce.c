// SPDX-License-Identifier: GPL-2.0
/*
 * A producer for tests, driven by writes to "produce":
 *
 *	CHANNEL SUB_TYPE LEN[-LONGEST] COUNT [cpu=N] [context=task|softirq|hardirq] [gap=USEC]
 *
 * pushes COUNT records through the channel's setter and returns when all are pushed. With a
 * range, lengths go up from LEN by odd steps and start over. gap= sleeps between records, in task
 * context alone. Several writes may run at once.
 */
#include <linux/completion.h>
#include <linux/cpu.h>
#include <linux/crc32.h>
#include <linux/debugfs.h>
#include <linux/delay.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/irq_work.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/percpu.h>
#include <linux/preempt.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/timer.h>
#include <linux/uaccess.h>

#include "platform.h"
#include "produce.h"
#include "zem_symbols.h"

#define LONGEST_PAYLOAD 8192
#define LENGTH_STEP 37
/* Records that one interrupt pushes before it lets the CPU go. */
#define INTERRUPT_BATCH 32

struct job {
	zem_setter set;
	u32 sub_type;
	int shortest;
	int longest;
	unsigned int count;
	int cpu;
	enum produce_context context;
	unsigned int gap_us;

	unsigned int done;
	int next_length;
	u8 *payload;
	struct irq_work hardirq;
	struct timer_list softirq;
	struct completion finished;
};

static DEFINE_PER_CPU(atomic64_t, sequences);

static const char *const context_names[PRODUCE_CONTEXTS] = {"task", "softirq", "hardirq"};

static enum produce_context current_context(void)
{
	if (in_hardirq())
		return PRODUCE_HARDIRQ;
	return in_serving_softirq() ? PRODUCE_SOFTIRQ : PRODUCE_TASK;
}

static void fill_payload(u8 *payload, int len)
{
	int cpu = raw_smp_processor_id();
	u64 sequence = atomic64_inc_return(per_cpu_ptr(&sequences, cpu)) - 1;
	struct produce_stamp stamp = {
		.sequence = sequence,
		.cpu = cpu,
		.context = current_context(),
	};

	for (int i = 0; i < len; i++)
		payload[i] = sequence + i;
	if (len < (int)sizeof(stamp))
		return;
	memcpy(payload, &stamp, sizeof(stamp));
	stamp.checksum = ~crc32_le(~0, payload, len);
	memcpy(payload, &stamp, sizeof(stamp));
}

static void push_one(struct job *job)
{
	fill_payload(job->payload, min(job->next_length, LONGEST_PAYLOAD));
	job->set(0, job->payload, job->next_length, job->sub_type);
	job->done++;

	job->next_length += LENGTH_STEP;
	if (job->next_length > job->longest)
		job->next_length = job->shortest + (job->next_length - job->longest) % LENGTH_STEP;
	if (job->next_length > job->longest)
		job->next_length = job->shortest;
}

static int produce_in_task(void *data)
{
	struct job *job = data;

	while (job->done < job->count) {
		push_one(job);
		if (job->gap_us)
			usleep_range(job->gap_us, job->gap_us + job->gap_us / 4);
		else
			cond_resched();
	}
	/* Not complete(): nothing of this module may run once its writer has gone on. */
	kthread_complete_and_exit(&job->finished, 0);
}

static void produce_batch(struct job *job)
{
	for (int i = 0; i < INTERRUPT_BATCH && job->done < job->count; i++)
		push_one(job);
}

/* The next batch comes with the next tick, so that the CPU gets to do other things. */
static void produce_in_softirq(struct timer_list *timer)
{
	struct job *job = container_of(timer, struct job, softirq);

	produce_batch(job);
	if (job->done < job->count) {
		timer->expires = jiffies + 1;
		add_timer_on(timer, job->cpu);
	} else {
		complete(&job->finished);
	}
}

static void produce_in_hardirq(struct irq_work *work)
{
	produce_batch(container_of(work, struct job, hardirq));
}

/* One interrupt for each batch. The thread that raises them is on the job's CPU, as they are. */
static int raise_hardirqs(void *data)
{
	struct job *job = data;

	job->hardirq = IRQ_WORK_INIT_HARD(produce_in_hardirq);
	while (job->done < job->count) {
		irq_work_queue(&job->hardirq);
		irq_work_sync(&job->hardirq);
		cond_resched();
	}
	kthread_complete_and_exit(&job->finished, 0);
}

/* Return: 0 or a negative error code; the job has finished. */
static int run_in_thread(struct job *job, int (*body)(void *))
{
	struct task_struct *task = kthread_create(body, job, "zem_produce/%d", job->cpu);

	if (IS_ERR(task))
		return PTR_ERR(task);
	kthread_bind(task, job->cpu);
	wake_up_process(task);
	wait_for_completion(&job->finished);
	return 0;
}

static int run_in_task(struct job *job)
{
	return run_in_thread(job, produce_in_task);
}

static int run_in_hardirq(struct job *job)
{
	return run_in_thread(job, raise_hardirqs);
}

static int run_in_softirq(struct job *job)
{
	timer_setup(&job->softirq, produce_in_softirq, TIMER_PINNED);
	job->softirq.expires = jiffies + 1;
	add_timer_on(&job->softirq, job->cpu);
	wait_for_completion(&job->finished);
	timer_shutdown_sync(&job->softirq);
	return 0;
}

static int run_job(struct job *job)
{
	static int (*const run[PRODUCE_CONTEXTS])(struct job *) = {
		[PRODUCE_TASK] = run_in_task,
		[PRODUCE_SOFTIRQ] = run_in_softirq,
		[PRODUCE_HARDIRQ] = run_in_hardirq,
	};
	int error = -EINVAL;

	job->next_length = job->shortest;
	init_completion(&job->finished);
	if (!job->count)
		return 0;
	cpus_read_lock();
	if (cpu_online(job->cpu))
		error = run[job->context](job);
	cpus_read_unlock();
	return error;
}

static int parse_lengths(struct job *job, const char *text)
{
	char *range = strchr(text, '-');

	/* A leading minus is a sign: refused lengths can be asked for. */
	if (!range || range == text) {
		if (kstrtoint(text, 0, &job->shortest))
			return -EINVAL;
		job->longest = job->shortest;
		return 0;
	}
	*range++ = '\0';
	if (kstrtoint(text, 0, &job->shortest) || kstrtoint(range, 0, &job->longest))
		return -EINVAL;
	return job->shortest < 0 || job->shortest > job->longest ? -EINVAL : 0;
}

static int parse_option(struct job *job, const char *option)
{
	int context;

	if (!strncmp(option, "cpu=", 4))
		return kstrtoint(option + 4, 0, &job->cpu) || job->cpu < 0 ||
				       job->cpu >= (int)nr_cpu_ids ?
			       -EINVAL :
			       0;
	if (!strncmp(option, "gap=", 4))
		return kstrtouint(option + 4, 0, &job->gap_us);
	if (strncmp(option, "context=", 8))
		return -EINVAL;
	context = match_string(context_names, PRODUCE_CONTEXTS, option + 8);
	if (context < 0)
		return -EINVAL;
	job->context = context;
	return 0;
}

/* @words is taken apart. The channel's name stays at its beginning. */
static int parse_job(struct job *job, char *words)
{
	char *word;
	int i;

	for (i = 0; (word = strsep(&words, " \n")); i++) {
		int error = 0;

		if (!*word) {
			i--;
			continue;
		}
		if (i == 1)
			error = kstrtouint(word, 0, &job->sub_type);
		else if (i == 2)
			error = parse_lengths(job, word);
		else if (i == 3)
			error = kstrtouint(word, 0, &job->count);
		else if (i > 3)
			error = parse_option(job, word);
		if (error)
			return error;
	}
	return i < 4 ? -EINVAL : 0;
}

static int produce(char *text)
{
	struct job *job = kzalloc(sizeof(*job), GFP_KERNEL);
	int error = -ENOMEM;

	if (!job)
		return -ENOMEM;
	job->cpu = raw_smp_processor_id();
	job->payload = kzalloc(LONGEST_PAYLOAD, GFP_KERNEL);
	if (!job->payload)
		goto free_job;
	error = parse_job(job, text);
	if (error)
		goto free_payload;
	job->set = zem_get_setter(text);
	error = PTR_ERR_OR_ZERO(job->set);
	if (error)
		goto free_payload;
	error = run_job(job);
	zem_put();
free_payload:
	kfree(job->payload);
free_job:
	kfree(job);
	return error;
}

static ssize_t produce_write(struct file *file, const char __user *from, size_t count,
			     loff_t *position)
{
	char *text = memdup_user_nul(from, min_t(size_t, count, PAGE_SIZE));
	int error;

	if (IS_ERR(text))
		return PTR_ERR(text);
	error = produce(strim(text));
	kfree(text);
	return error ?: count;
}

static const struct file_operations produce_fops = {
	.owner = THIS_MODULE,
	.open = nonseekable_open,
	.write = produce_write,
};

void produce_init(struct dentry *directory)
{
	debugfs_create_file("produce", 0200, directory, NULL, &produce_fops);
}
