// SPDX-License-Identifier: GPL-2.0
/*
 * Defines the hooks, and unregisters the probes that a module leaves on them: a device's restricted
 * hooks cannot be unregistered, and zem leaves probes on other hooks too.
 */
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/rcupdate.h>

#include "hooks.h"
#include "stat_hooks.h"

#define DEFINE_HOOK(name, attach, parameters, arguments)            \
	DEFINE_TRACE(name, TP_PROTO parameters, TP_ARGS arguments); \
	EXPORT_SYMBOL_GPL(__tracepoint_##name);

PLATFORM_HOOKS(DEFINE_HOOK)

#define HOOK_ADDRESS(name, ...) &__tracepoint_##name,
static struct tracepoint *const hooks[] = {PLATFORM_HOOKS(HOOK_ADDRESS)};

/* Held from the check that a restricted hook has no probe until one is registered. */
static DEFINE_MUTEX(restricted_lock);

int android_rvh_probe_register(struct tracepoint *hook, void *probe, void *data)
{
	int error = -EBUSY;

	mutex_lock(&restricted_lock);
	if (!rcu_access_pointer(hook->funcs))
		error = tracepoint_probe_register(hook, probe, data);
	mutex_unlock(&restricted_lock);
	return error;
}
EXPORT_SYMBOL_GPL(android_rvh_probe_register);

/* Return: a probe of the hook that is code of the module; .func is NULL if there is none. */
static struct tracepoint_func find_probe(struct tracepoint *hook, const struct module *module)
{
	struct tracepoint_func found = {};
	struct tracepoint_func *probe;

	rcu_read_lock();
	for (probe = rcu_dereference(hook->funcs); probe && probe->func; probe++) {
		if (within_module((unsigned long)probe->func, module)) {
			found = *probe;
			break;
		}
	}
	rcu_read_unlock();
	return found;
}

bool hook_has_probe_of(struct tracepoint *hook, const struct module *module)
{
	return find_probe(hook, module).func;
}

void hooks_release(const struct module *module)
{
	bool released = false;

	for (size_t i = 0; i < ARRAY_SIZE(hooks); i++) {
		struct tracepoint_func probe;

		while ((probe = find_probe(hooks[i], module)).func) {
			int error = tracepoint_probe_unregister(hooks[i], probe.func, probe.data);

			if (error) {
				pr_err("%s stays on %s: error %d\n", module->name, hooks[i]->name,
				       error);
				break;
			}
			released = true;
		}
	}
	if (released)
		tracepoint_synchronize_unregister();
}
