// SPDX-License-Identifier: GPL-2.0
/*
 * Releases what zem leaves behind when its load fails, and on a stock kernel when it is unloaded:
 * probes, the function of the load feed, references to tasks and files below /proc. Each would lead
 * into freed code. Restricted probes need no release: zem attaches them only after its start-up
 * cannot fail any more, and then stays loaded.
 */
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/notifier.h>
#include <linux/proc_fs.h>
#include <linux/rcupdate.h>
#include <linux/string.h>
#include <linux/tracepoint.h>

#include "glue.h"
#include "stock_hooks.h"

#define HOOK_ROW(name, attach, parameters, arguments) {&__tracepoint_##name, attach},

static const struct hook {
	struct tracepoint *tracepoint;
	int (*attach)(struct tracepoint *hook, void *probe, void *data);
} hooks[] = {PLATFORM_HOOKS(HOOK_ROW)};

/* The directories of zem below /proc. */
static const char *const directories[] = {
	"svp_metrics",	  "sched_metrics", "load_metrics", "morva_sched_healthinfo",
	"cgroup_metrics", "zem_procstat",
};

/* Return: a probe of the tracepoint that is code of the module; .func is NULL if there is none. */
static struct tracepoint_func probe_of(struct tracepoint *tracepoint, const struct module *module)
{
	struct tracepoint_func found = {};
	struct tracepoint_func *probe;

	rcu_read_lock();
	for (probe = rcu_dereference(tracepoint->funcs); probe && probe->func; probe++) {
		if (within_module((unsigned long)probe->func, module)) {
			found = *probe;
			break;
		}
	}
	rcu_read_unlock();
	return found;
}

static void detach_probes(struct tracepoint *tracepoint, const struct module *module)
{
	struct tracepoint_func probe;

	while ((probe = probe_of(tracepoint, module)).func)
		if (tracepoint_probe_unregister(tracepoint, probe.func, probe.data))
			return;
}

static void clean_up_after(const struct module *module)
{
	for (size_t i = 0; i < ARRAY_SIZE(hooks); i++)
		if (hooks[i].attach == tracepoint_probe_register)
			detach_probes(hooks[i].tracepoint, module);
	tracepoint_synchronize_unregister();
	load_feed_release(module);
	for (size_t i = 0; i < ARRAY_SIZE(directories); i++)
		remove_proc_subtree(directories[i], NULL);
	task_records_unlist();
	stock_module_is_gone(module);
}

/* A failed load is reported as GOING too. The module's code exists until the end of this call. */
static int on_module(struct notifier_block *block, unsigned long state, void *data)
{
	struct module *module = data;

	if (strcmp(module->name, "zem"))
		return NOTIFY_DONE;
	if (state == MODULE_STATE_COMING)
		stock_module_comes(module);
	else if (state == MODULE_STATE_GOING)
		clean_up_after(module);
	return NOTIFY_OK;
}

static struct notifier_block module_watch = {.notifier_call = on_module};

int cleanup_init(void)
{
	return register_module_notifier(&module_watch);
}

void cleanup_exit(void)
{
	unregister_module_notifier(&module_watch);
}
