// SPDX-License-Identifier: GPL-2.0
/* Finds tracepoints of the running kernel by name and attaches tables of probes to them. */
#include <linux/errno.h>
#include <linux/printk.h>
#include <linux/string.h>
#include <linux/tracepoint.h>

#include "kernel_probes.h"

static void match_tracepoint(struct tracepoint *tracepoint, void *data)
{
	struct kernel_probe *probe = data;

	if (!strcmp(tracepoint->name, probe->name))
		probe->tracepoint = tracepoint;
}

static int attach(struct kernel_probe *probe)
{
	if (!probe->tracepoint)
		for_each_kernel_tracepoint(match_tracepoint, probe);
	if (!probe->tracepoint) {
		pr_err("zem_platform: this kernel has no tracepoint %s\n", probe->name);
		return -ENOENT;
	}
	return tracepoint_probe_register(probe->tracepoint, probe->probe, NULL);
}

int kernel_probes_attach(struct kernel_probe *probes, size_t count)
{
	for (size_t i = 0; i < count; i++) {
		int error = attach(&probes[i]);

		if (error) {
			kernel_probes_detach(probes, i);
			return error;
		}
	}
	return 0;
}

void kernel_probes_detach(struct kernel_probe *probes, size_t count)
{
	while (count--)
		tracepoint_probe_unregister(probes[count].tracepoint, probes[count].probe, NULL);
	tracepoint_synchronize_unregister();
}
