/* SPDX-License-Identifier: GPL-2.0 */
/* The load feed: who wants to know what tasks have run, and telling them. */
#ifndef _ZEM_PLATFORM_LOAD_FEED_H
#define _ZEM_PLATFORM_LOAD_FEED_H

#include <linux/types.h>

struct module;
struct task_struct;

/* With preemption off. Tells who has registered; @delta in cycles. Return: whether anyone has. */
bool load_feed(struct task_struct *task, u32 cluster, u64 delta);

/* Forgets a listener that is a module which is going, and waits until it is not running. Sleeps. */
void load_feed_release(const struct module *module);

#endif /* _ZEM_PLATFORM_LOAD_FEED_H */
