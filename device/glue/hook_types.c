// SPDX-License-Identifier: GPL-2.0
/*
 * Checks, when it is compiled, that the kernel's hooks have the arguments that zem expects. On a
 * device, HOOK_HEADERS names the headers that declare the vendor hooks.
 */
#include <linux/tracepoint.h>

#include <trace/events/sched.h>

#include "contract.h"
#include "stock_hooks.h"

#define CHECK_HOOK(name, attach, parameters, arguments) \
	check_trace_callback_type_##name((platform_probe_##name *)NULL);

static inline void __maybe_unused check_vendor_hooks(void)
{
	PLATFORM_VENDOR_HOOKS(CHECK_HOOK)
}

#ifdef CONFIG_SCHEDSTATS
static inline void __maybe_unused check_sched_stat_hooks(void)
{
	PLATFORM_SCHED_STAT_HOOKS(CHECK_HOOK)
}
#endif
