/* SPDX-License-Identifier: GPL-2.0 */
/* Tracepoints, by which hooks reach their probes: <linux/tracepoint.h>. May sleep. */
#ifndef _ZEM_KERNEL_API_TRACEPOINT_H
#define _ZEM_KERNEL_API_TRACEPOINT_H

#include "types.h"

ZEM_API_BEGIN

struct tracepoint;

/* Return: 0 or a negative error code. */
int tracepoint_probe_register(struct tracepoint *tp, void *probe, void *data);
int tracepoint_probe_unregister(struct tracepoint *tp, void *probe, void *data);

/* Returns after the last call of an unregistered probe has ended. */
void helper_tracepoint_synchronize_unregister(void);

/* Return: whether nothing can detach a probe from a vendor hook, as on a device. Any context. */
int helper_vendor_hooks_stay_attached(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TRACEPOINT_H */
