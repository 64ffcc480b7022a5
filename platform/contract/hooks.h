/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The vendor hooks that a stock kernel lacks, as tracepoints of this module. Raising a hook costs a
 * static branch while it has no probe; its arguments are not computed then. contract.h lists the
 * hooks and says in which context each is raised.
 */
#ifndef _ZEM_PLATFORM_HOOKS_H
#define _ZEM_PLATFORM_HOOKS_H

#include <linux/tracepoint.h>
#include <linux/types.h>

#include "common/compat.h"
#include "contract.h"

struct module;

#define DECLARE_HOOK(name, attach, parameters, arguments) \
	DECLARE_HOOK_TRACE(name, TP_PROTO parameters, TP_ARGS arguments);

PLATFORM_VENDOR_HOOKS(DECLARE_HOOK)

/* Context: any. Return: whether a probe of the hook is code of the module. */
bool hook_has_probe_of(struct tracepoint *hook, const struct module *module);

/* Unregisters the probes of a module that is unloaded, and waits until none of them runs. Sleeps.
 */
void hooks_release(const struct module *module);

#endif /* _ZEM_PLATFORM_HOOKS_H */
