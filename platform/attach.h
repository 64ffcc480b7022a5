/* SPDX-License-Identifier: GPL-2.0 */
/* Lists of probes on the hooks of the contract, for modules that only listen. May sleep. */
#ifndef _ZEM_PLATFORM_ATTACH_H
#define _ZEM_PLATFORM_ATTACH_H

#include <linux/tracepoint.h>

struct hook_probe {
	struct tracepoint *hook;
	void *probe;
	int (*attach)(struct tracepoint *hook, void *probe, void *data);
};

/*
 * Return: 0, or the error of the first that can't be attached; the platform takes off those before
 * it when the module has gone.
 */
static inline int attach_probes(const struct hook_probe *probes, size_t count)
{
	for (size_t i = 0; i < count; i++) {
		int error = probes[i].attach(probes[i].hook, probes[i].probe, NULL);

		if (error)
			return error;
	}
	return 0;
}

#endif /* _ZEM_PLATFORM_ATTACH_H */
