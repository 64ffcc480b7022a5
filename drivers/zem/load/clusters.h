/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The two clusters of CPUs and their capacities. Written at start-up, and read in any context
 * afterwards.
 */
#pragma once

#include "kernel/api/bug.h"
#include "kernel/api/types.h"

namespace zem {

inline constexpr size_t kClusters = 2;

struct ClusterUnit {
	u64 scale; /* capacity units for a cycle in each ns, times 1000000; 0: unknown */
	u64 capacity; /* at full speed */
	u64 ref_freq; /* kHz; 0: unknown */
};

extern ClusterUnit cpu_cluster_unit[kClusters];

/* Reads the platform's list once. A cluster that is not in the list keeps a scale of 0. */
void clusters_init();

/* BUG() for CPU 32 and above, which the platform must not have. */
[[nodiscard]] u32 get_cluster_by_cpu(unsigned int cpu);

/* Return: @cluster. BUG() for a third cluster. */
[[nodiscard]] inline u32 checked_cluster(u32 cluster)
{
	if (cluster >= kClusters)
		helper_bug();
	return cluster;
}

[[nodiscard]] inline u64 cluster_scale(u32 cluster)
{
	return cpu_cluster_unit[checked_cluster(cluster)].scale;
}

/* Relative to the big cluster's capacity, so a small CPU does not reach 100. */
[[nodiscard]] u64 percent_of_capacity(u64 value);

} /* namespace zem */
