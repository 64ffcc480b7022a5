/* SPDX-License-Identifier: GPL-2.0 */
/* The groups of CPUs that are alike, and what a time on them is in cycles. Any context. */
#ifndef _ZEM_PLATFORM_CLUSTERS_H
#define _ZEM_PLATFORM_CLUSTERS_H

#include <linux/topology.h>
#include <linux/types.h>

#define CLUSTERS 2

/*
 * zem has two rows and traps on any other index, so that a machine with more packages has them
 * fold into two; one that does not know its packages has them all in the first.
 */
static inline u32 cluster_of(int cpu)
{
	int package = topology_physical_package_id(cpu);

	return package < 0 ? 0 : package & (CLUSTERS - 1);
}

/* Return: cycles at the cluster's reference frequency; 0 while that is unknown. */
u64 cluster_cycles(u32 cluster, u64 time);

#endif /* _ZEM_PLATFORM_CLUSTERS_H */
