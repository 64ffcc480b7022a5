// SPDX-License-Identifier: GPL-2.0
/* Keeps the function that receives the load feed. Only one can be registered. */
#include <linux/export.h>
#include <linux/module.h>
#include <linux/rcupdate.h>

#include "contract.h"
#include "load_feed.h"

typedef void (*load_listener)(struct task_struct *task, u32 cluster, u64 delta);

/* Called with preemption off, which is an RCU read-side section. */
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
