// SPDX-License-Identifier: GPL-2.0
/* The one function that wants the load feed. "runtime" calls it by hand. */
#include <linux/err.h>
#include <linux/export.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/rcupdate.h>
#include <linux/sched/task.h>

#include "clusters.h"
#include "commands.h"
#include "contract.h"
#include "load_feed.h"
#include "platform.h"

typedef void (*load_listener)(struct task_struct *task, u32 cluster, u64 delta);

/* Called in sections with preemption off, which are RCU readers. */
static load_listener listener;

void register_load_stat_proc_runtime(load_listener fn)
{
	WRITE_ONCE(listener, fn);
}
EXPORT_SYMBOL_GPL(register_load_stat_proc_runtime);

void unregister_load_stat_proc_runtime(void)
{
	WRITE_ONCE(listener, NULL);
	synchronize_rcu();
}
EXPORT_SYMBOL_GPL(unregister_load_stat_proc_runtime);

void load_feed_release(const struct module *module)
{
	if (within_module((unsigned long)READ_ONCE(listener), module))
		unregister_load_stat_proc_runtime();
}

bool load_feed(struct task_struct *task, u32 cluster, u64 delta)
{
	load_listener fn = READ_ONCE(listener);

	if (fn)
		fn(task, cluster, delta);
	return fn;
}

/* PID CLUSTER DELTA */
static int runtime_run(char *text)
{
	struct task_struct *task;
	unsigned long flags;
	char *words[3];
	u32 cluster;
	u64 delta;
	bool told;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtou32(words[1], 10, &cluster) || cluster >= CLUSTERS ||
	    kstrtou64(words[2], 10, &delta))
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	local_irq_save(flags);
	told = load_feed(task, cluster, delta);
	local_irq_restore(flags);
	put_task_struct(task);
	return told ? 0 : -ENODEV;
}

static const struct command_file runtime = {.run = runtime_run};

void load_feed_init(struct dentry *directory)
{
	command_file_create("runtime", directory, &runtime);
}
