/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Attaches probes to tracepoints of the running kernel by name, because most are not exported. A
 * table of probes is attached and detached as a whole. May sleep.
 */
#ifndef _ZEM_PLATFORM_KERNEL_PROBES_H
#define _ZEM_PLATFORM_KERNEL_PROBES_H

#include <linux/types.h>

struct tracepoint;

struct kernel_probe {
	const char *name;
	/*
	 * Has the tracepoint's prototype after an unused pointer. check_trace_callback_type_NAME()
	 * of the tracepoint's header checks that when it is compiled; kCFI when it is called.
	 */
	void *probe;
	struct tracepoint *tracepoint; /* set when the probe is first attached */
};

/* Attaches all or none. Return: 0, -ENOENT if the kernel lacks a tracepoint, or another error. */
int kernel_probes_attach(struct kernel_probe *probes, size_t count);

/* Detaches all and waits until none of them runs. */
void kernel_probes_detach(struct kernel_probe *probes, size_t count);

#endif /* _ZEM_PLATFORM_KERNEL_PROBES_H */
