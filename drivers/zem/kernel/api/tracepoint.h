/* SPDX-License-Identifier: GPL-2.0 */
/* Tracepoints, which call the probes of hooks: <linux/tracepoint.h>. Context: may sleep. */
#ifndef _ZEM_KERNEL_API_TRACEPOINT_H
#define _ZEM_KERNEL_API_TRACEPOINT_H

#include "types.h"

ZEM_API_BEGIN

struct tracepoint;

/* Return: 0 or a negative error code. */
int tracepoint_probe_register(struct tracepoint *tp, void *probe, void *data);
int tracepoint_probe_unregister(struct tracepoint *tp, void *probe, void *data);

/* Returns when no unregistered probe is running. */
void helper_tracepoint_synchronize_unregister(void);

/* Return: whether probes of vendor hooks cannot be detached, as on a device. Context: any. */
int helper_vendor_hooks_stay_attached(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TRACEPOINT_H */
