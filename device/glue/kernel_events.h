/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Attaches probes to the kernel's own events. Most of them are not exported, so they are looked up
 * by name. May sleep.
 */
#ifndef _ZEM_GLUE_KERNEL_EVENTS_H
#define _ZEM_GLUE_KERNEL_EVENTS_H

#include <linux/types.h>

struct tracepoint;

struct kernel_event {
	const char *name;
	void *probe; /* its first argument is unused */
	struct tracepoint *tracepoint; /* set by kernel_events_attach() */
};

/* Attaches all or none. Return: 0, or -ENOENT if the kernel lacks an event, or another error. */
int kernel_events_attach(struct kernel_event *events, size_t count);

/* Returns when none of the probes runs. */
void kernel_events_detach(struct kernel_event *events, size_t count);

#endif /* _ZEM_GLUE_KERNEL_EVENTS_H */
