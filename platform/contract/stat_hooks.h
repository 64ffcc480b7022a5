/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The scheduler's statistics events, which a stock kernel does not export, under their own names as
 * tracepoints of this module. <trace/events/sched.h> declares the kernel's events, so a file cannot
 * include both headers.
 */
#ifndef _ZEM_PLATFORM_STAT_HOOKS_H
#define _ZEM_PLATFORM_STAT_HOOKS_H

#include "hooks.h"

PLATFORM_SCHED_STAT_HOOKS(DECLARE_HOOK)

#endif /* _ZEM_PLATFORM_STAT_HOOKS_H */
