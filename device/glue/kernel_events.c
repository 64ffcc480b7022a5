// SPDX-License-Identifier: GPL-2.0
/* Finds events of the running kernel by name, and attaches tables of probes to them. */
#include <linux/errno.h>
#include <linux/printk.h>
#include <linux/string.h>
#include <linux/tracepoint.h>

#include "kernel_events.h"

static void match(struct tracepoint *tracepoint, void *data)
{
	struct kernel_event *event = data;

	if (!strcmp(tracepoint->name, event->name))
		event->tracepoint = tracepoint;
}

static int attach(struct kernel_event *event)
{
	for_each_kernel_tracepoint(match, event);
	if (!event->tracepoint) {
		pr_err("zem_glue: this kernel has no event %s\n", event->name);
		return -ENOENT;
	}
	return tracepoint_probe_register(event->tracepoint, event->probe, NULL);
}

int kernel_events_attach(struct kernel_event *events, size_t count)
{
	for (size_t i = 0; i < count; i++) {
		int error = attach(&events[i]);

		if (error) {
			kernel_events_detach(events, i);
			return error;
		}
	}
	return 0;
}

void kernel_events_detach(struct kernel_event *events, size_t count)
{
	while (count--)
		tracepoint_probe_unregister(events[count].tracepoint, events[count].probe, NULL);
	tracepoint_synchronize_unregister();
}
