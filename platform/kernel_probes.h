/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Probes on tracepoints of the running kernel, by name, as most are not exported. A table of them
 * is attached and detached as a whole. All of it may sleep.
 */
#ifndef _ZEM_PLATFORM_KERNEL_PROBES_H
#define _ZEM_PLATFORM_KERNEL_PROBES_H

#include <linux/types.h>

struct tracepoint;

struct kernel_probe {
	const char *name;
	/*
	 * Exactly of the tracepoint's prototype, after a pointer that is not used. The kernel
	 * checks that as it calls; check_trace_callback_type_NAME() of its header does when this is
	 * compiled.
	 */
	void *probe;
	struct tracepoint *tracepoint; /* found on the first attaching */
};

/* Return: 0; -ENOENT when the kernel has no such tracepoint, or another error. All or none. */
int kernel_probes_attach(struct kernel_probe *probes, size_t count);

/* Returns when none of them runs any more. */
void kernel_probes_detach(struct kernel_probe *probes, size_t count);

#endif /* _ZEM_PLATFORM_KERNEL_PROBES_H */
