/* SPDX-License-Identifier: GPL-2.0 */
/* Groups CPUs that are alike, and converts their time to cycles. Context: any. */
#ifndef _ZEM_PLATFORM_CLUSTERS_H
#define _ZEM_PLATFORM_CLUSTERS_H

#include <linux/topology.h>
#include <linux/types.h>

#define CLUSTERS 2

/*
 * zem has two rows and traps on any other index: more packages than two are folded into two. All
 * CPUs are in the first cluster on a machine that does not report packages.
 */
static inline u32 cluster_of(int cpu)
{
	int package = topology_physical_package_id(cpu);

	return package < 0 ? 0 : package & (CLUSTERS - 1);
}

/* Return: @time in cycles at the cluster's reference frequency; 0 while that is unknown. */
u64 cluster_cycles(u32 cluster, u64 time);

#endif /* _ZEM_PLATFORM_CLUSTERS_H */
