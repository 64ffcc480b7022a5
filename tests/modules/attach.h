/* SPDX-License-Identifier: GPL-2.0 */
/* Attaches probes to the hooks of the contract, for modules that only listen. May sleep. */
#ifndef _ZEM_TEST_ATTACH_H
#define _ZEM_TEST_ATTACH_H

#include <linux/tracepoint.h>

#include "../../drivers/zem/platform/contract.h"

struct hook_probe {
	struct tracepoint *hook;
	void *probe;
	int (*attach)(struct tracepoint *hook, void *probe, void *data);
};

/* For PLATFORM_HOOKS(): the prototype of a probe on_NAME, and its row in a table of probes. */
#define HOOK_PARAMETERS(...) __VA_ARGS__
#define PROBE_PROTOTYPE(name, attach, parameters, arguments) \
	void on_##name(void *data, HOOK_PARAMETERS parameters);
#define PROBE_ROW(name, attach, parameters, arguments) {&__tracepoint_##name, on_##name, attach},

/*
 * Return: 0, or the error of the first probe that cannot be attached. The platform detaches the
 * probes before it when the module is unloaded.
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

#endif /* _ZEM_TEST_ATTACH_H */
