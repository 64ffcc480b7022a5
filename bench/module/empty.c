// SPDX-License-Identifier: GPL-2.0
/*
 * zem_empty.ko: handlers that do nothing, on each hook that zem has a handler on. They cost what
 * the hooks themselves cost. The module cannot be unloaded.
 */
#include <linux/blk_types.h>
#include <linux/fs.h>
#include <linux/init.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/sched.h>

#include "../../tests/modules/attach.h"

#define EMPTY_PROBE(name, attach, parameters, arguments)              \
	static void on_##name(void *data, HOOK_PARAMETERS parameters) \
	{                                                             \
	}

PLATFORM_HOOKS(EMPTY_PROBE)

/* zem has two handlers on this hook, and a hook accepts the same function only once. */
static void on_depart_too(void *data, struct task_struct *task, u64 runtime)
{
}

static void on_load(struct task_struct *task, u32 cluster, u64 delta)
{
}

static const struct hook_probe probes[] = {
	PLATFORM_HOOKS(PROBE_ROW){&__tracepoint_android_vh_sched_info_depart, on_depart_too,
				  tracepoint_probe_register},
};

static int __init empty_init(void)
{
	int error = attach_probes(probes, ARRAY_SIZE(probes));

	if (error)
		return error;
	register_load_stat_proc_runtime(on_load);
	return 0;
}
module_init(empty_init);

MODULE_DESCRIPTION("Handlers that do nothing, to measure what the hooks cost");
MODULE_LICENSE("GPL");
