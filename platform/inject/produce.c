// SPDX-License-Identifier: GPL-2.0
/*
 * A producer for tests. A write to "produce" of
 *
 *	CHANNEL SUB_TYPE LEN[-LONGEST] COUNT [cpu=N] [context=CONTEXT] [gap=USEC]
 *
 * with one of the contexts task, softirq, hardirq, run-queue (under the CPU's run-queue lock) and
 * nmi pushes COUNT records through the channel's setter and returns when all are pushed. In a range
 * the lengths increase from LEN by odd steps and wrap around. gap= sleeps between records, in task
 * context only. Several writes may run concurrently. Without an interrupt that nothing masks, nmi
 * is refused with -EOPNOTSUPP.
 */
#include <linux/completion.h>
#include <linux/cpu.h>
#include <linux/crc32.h>
#include <linux/delay.h>
#include <linux/err.h>
#include <linux/irq_work.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/mutex.h>
#include <linux/percpu.h>
#include <linux/preempt.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/timer.h>

#include <trace/events/sched.h>

#include "common/commands.h"
#include "common/kernel_probes.h"
#include "hub/zem_symbols.h"
#include "nmi_source.h"
#include "parts.h"
#include "produce.h"

#define LONGEST_PAYLOAD 8192
#define LENGTH_STEP 37
/* The number of records that one interrupt pushes. */
#define INTERRUPT_BATCH 32
/* The words before the options, and with them. */
#define FIXED_WORDS 4
#define MOST_WORDS (FIXED_WORDS + 3)

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
	int error;
	int next_length;
	u8 *payload;
	struct irq_work hardirq;
	struct timer_list softirq;
	struct completion finished;
};

static DEFINE_PER_CPU(atomic64_t, sequences);

/* The job of each CPU that every switch of tasks there continues; under the run-queue lock. */
static DEFINE_PER_CPU(struct job *, run_queue_job);

static const char *const context_names[PRODUCE_CONTEXTS] = {"task", "softirq", "hardirq",
							    "run-queue", "nmi"};

static enum produce_context current_context(void)
{
	if (in_nmi())
		return PRODUCE_NMI;
	if (in_hardirq())
		return PRODUCE_HARDIRQ;
	if (in_serving_softirq())
		return PRODUCE_SOFTIRQ;
	return irqs_disabled() ? PRODUCE_RUN_QUEUE : PRODUCE_TASK;
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
	WRITE_ONCE(job->done, job->done + 1);

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
	/* Not complete(): this module may be unloaded as soon as the writer continues. */
	kthread_complete_and_exit(&job->finished, 0);
}

static void produce_batch(struct job *job)
{
	for (int i = 0; i < INTERRUPT_BATCH && job->done < job->count; i++)
		push_one(job);
}

/* Pushes the next batch on the next tick, so that the CPU can run other work. */
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

/* Raises one interrupt for each batch, on the thread's CPU, which is the job's. */
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

static void on_switch(void *data, bool preempt, struct task_struct *previous,
		      struct task_struct *next, unsigned int previous_state)
{
	struct job *job = this_cpu_read(run_queue_job);

	if (job)
		produce_batch(job);
}

static struct kernel_probe switch_probe = {.name = "sched_switch", .probe = on_switch};
static unsigned int switch_probe_users;
static DEFINE_MUTEX(switch_probe_lock);

static int attach_switch_probe(void)
{
	int error = 0;

	check_trace_callback_type_sched_switch(on_switch);
	mutex_lock(&switch_probe_lock);
	if (!switch_probe_users)
		error = kernel_probes_attach(&switch_probe, 1);
	if (!error)
		switch_probe_users++;
	mutex_unlock(&switch_probe_lock);
	return error;
}

static void detach_switch_probe(void)
{
	mutex_lock(&switch_probe_lock);
	if (!--switch_probe_users)
		kernel_probes_detach(&switch_probe, 1);
	mutex_unlock(&switch_probe_lock);
}

/* Each sleep is a switch from the thread and one back to it. One job at a time on each CPU. */
static int switch_tasks(void *data)
{
	struct job *job = data;

	while (cmpxchg(this_cpu_ptr(&run_queue_job), NULL, job))
		usleep_range(100, 200);
	while (READ_ONCE(job->done) < job->count)
		usleep_range(10, 20);
	this_cpu_write(run_queue_job, NULL);
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

static int run_under_run_queue_lock(struct job *job)
{
	return run_in_thread(job, switch_tasks);
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

static bool produce_in_nmi(void *data)
{
	struct job *job = data;

	if (job->done < job->count)
		push_one(job);
	return job->done < job->count;
}

static int receive_nmis(void *data)
{
	struct job *job = data;

	job->error = call_in_nmis(job->cpu, produce_in_nmi, job);
	kthread_complete_and_exit(&job->finished, 0);
}

static int run_in_nmis(struct job *job)
{
	if (!cpu_online(job->cpu))
		return -EINVAL;
	return run_in_thread(job, receive_nmis) ?: job->error;
}

static int run_on_cpu(struct job *job)
{
	static int (*const run[PRODUCE_CONTEXTS])(struct job *) = {
		[PRODUCE_TASK] = run_in_task,
		[PRODUCE_SOFTIRQ] = run_in_softirq,
		[PRODUCE_HARDIRQ] = run_in_hardirq,
		[PRODUCE_RUN_QUEUE] = run_under_run_queue_lock,
	};
	int error = -EINVAL;

	cpus_read_lock();
	if (cpu_online(job->cpu))
		error = run[job->context](job);
	cpus_read_unlock();
	return error;
}

static int run_job(struct job *job)
{
	int error;

	job->next_length = job->shortest;
	init_completion(&job->finished);
	if (!job->count)
		return 0;
	/* Counters and probes take locks that must not be taken inside that of CPU hotplug. */
	if (job->context == PRODUCE_NMI)
		return run_in_nmis(job);
	if (job->context != PRODUCE_RUN_QUEUE)
		return run_on_cpu(job);
	error = attach_switch_probe();
	if (error)
		return error;
	error = run_on_cpu(job);
	detach_switch_probe();
	return error;
}

static int parse_lengths(struct job *job, char *text)
{
	char *range = strchr(text, '-');

	/* A leading minus is a sign, so that tests can request lengths that are refused. */
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

static int parse_cpu(struct job *job, const char *number)
{
	if (kstrtoint(number, 0, &job->cpu) || job->cpu < 0 || job->cpu >= (int)nr_cpu_ids)
		return -EINVAL;
	return 0;
}

static int parse_context(struct job *job, const char *name)
{
	int context = match_string(context_names, PRODUCE_CONTEXTS, name);

	if (context < 0)
		return -EINVAL;
	job->context = context;
	return 0;
}

static int parse_option(struct job *job, const char *option)
{
	size_t name;

	name = str_has_prefix(option, "cpu=");
	if (name)
		return parse_cpu(job, option + name);
	name = str_has_prefix(option, "gap=");
	if (name)
		return kstrtouint(option + name, 0, &job->gap_us);
	name = str_has_prefix(option, "context=");
	return name ? parse_context(job, option + name) : -EINVAL;
}

static int parse_job(struct job *job, char *const *words, int count)
{
	int error;

	if (count < FIXED_WORDS)
		return -EINVAL;
	error = kstrtouint(words[1], 0, &job->sub_type) ?:
			parse_lengths(job, words[2])	?:
							  kstrtouint(words[3], 0, &job->count);
	for (int i = FIXED_WORDS; i < count && !error; i++)
		error = parse_option(job, words[i]);
	return error;
}

static int produce_run(char *text)
{
	char *words[MOST_WORDS];
	int count = command_words(text, words, MOST_WORDS);
	struct job *job = kzalloc(sizeof(*job), GFP_KERNEL);
	int error = -ENOMEM;

	if (!job)
		return -ENOMEM;
	job->cpu = raw_smp_processor_id();
	job->payload = kzalloc(LONGEST_PAYLOAD, GFP_KERNEL);
	if (!job->payload)
		goto free_job;
	error = parse_job(job, words, count);
	if (error)
		goto free_payload;
	job->set = zem_get_setter(words[0]);
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

static const struct command_file produce = {.run = produce_run};

void produce_init(struct dentry *directory)
{
	command_file_create("produce", directory, &produce);
}
