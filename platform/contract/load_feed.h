/* SPDX-License-Identifier: GPL-2.0 */
/* Passes the time that tasks ran to the function that is registered for it. */
#ifndef _ZEM_PLATFORM_LOAD_FEED_H
#define _ZEM_PLATFORM_LOAD_FEED_H

#include <linux/types.h>

struct module;
struct task_struct;

/*
 * Calls the registered function; @delta is in cycles.
 * Context: preemption off. Return: whether a function is registered.
 */
bool load_feed(struct task_struct *task, u32 cluster, u64 delta);

/* Unregisters a function of a module that is unloaded, and waits until it does not run. Sleeps. */
void load_feed_release(const struct module *module);

#endif /* _ZEM_PLATFORM_LOAD_FEED_H */
