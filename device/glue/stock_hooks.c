// SPDX-License-Identifier: GPL-2.0
/*
 * Defines the hooks that a stock kernel lacks. A restricted probe is permanent here too: the module
 * of the probe is pinned.
 */
#include <linux/errno.h>
#include <linux/export.h>
#include <linux/module.h>
#include <linux/mutex.h>

#include "stock_hooks.h"

/* <trace/events/sched.h> declares the kernel's own events of these names, so it is not included. */
PLATFORM_SCHED_STAT_HOOKS(DECLARE_HOOK)

#define DEFINE_HOOK(name, attach, parameters, arguments)            \
	DEFINE_TRACE(name, TP_PROTO parameters, TP_ARGS arguments); \
	EXPORT_SYMBOL_GPL(__tracepoint_##name);
PLATFORM_HOOKS(DEFINE_HOOK)

static DEFINE_MUTEX(restricted_lock);
/* Protected by restricted_lock. */
static struct module *prober;

void stock_module_comes(struct module *module)
{
	mutex_lock(&restricted_lock);
	prober = module;
	mutex_unlock(&restricted_lock);
}

void stock_module_is_gone(const struct module *module)
{
	mutex_lock(&restricted_lock);
	if (prober == module)
		prober = NULL;
	mutex_unlock(&restricted_lock);
}

static int attach_permanently(struct tracepoint *hook, void *probe, void *data)
{
	int error;

	if (!prober || !within_module((unsigned long)probe, prober))
		return -EPERM;
	if (rcu_access_pointer(hook->funcs))
		return -EBUSY;
	error = tracepoint_probe_register(hook, probe, data);
	if (!error)
		__module_get(prober);
	return error;
}

int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data)
{
	int error;

	mutex_lock(&restricted_lock);
	error = attach_permanently(hook, probe, data);
	mutex_unlock(&restricted_lock);
	return error;
}
EXPORT_SYMBOL_GPL(android_rvh_probe_register);
