// SPDX-License-Identifier: GPL-2.0
/* "runtime" calls the load feed: PID CLUSTER DELTA. */
#include <linux/err.h>
#include <linux/irqflags.h>
#include <linux/kernel.h>
#include <linux/sched/task.h>

#include "common/commands.h"
#include "contract/clusters.h"
#include "contract/load_feed.h"
#include "parts.h"

static int runtime_run(char *text)
{
	struct task_struct *task;
	unsigned long flags;
	char *words[3];
	u32 cluster;
	u64 delta;
	bool is_registered;

	if (command_words(text, words, ARRAY_SIZE(words)) != ARRAY_SIZE(words) ||
	    kstrtou32(words[1], 10, &cluster) || cluster >= CLUSTERS ||
	    kstrtou64(words[2], 10, &delta))
		return -EINVAL;
	task = command_task(words[0]);
	if (IS_ERR(task))
		return PTR_ERR(task);
	local_irq_save(flags);
	is_registered = load_feed(task, cluster, delta);
	local_irq_restore(flags);
	put_task_struct(task);
	return is_registered ? 0 : -ENODEV;
}

static const struct command_file runtime = {.run = runtime_run};

void runtime_init(struct dentry *directory)
{
	command_file_create("runtime", directory, &runtime);
}
