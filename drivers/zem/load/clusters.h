/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The two clusters of CPUs, and what a cycle on each is worth in capacity units. Written at
 * start-up, read in any context afterwards.
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

/* Takes the platform's list, once. A cluster that it does not have keeps a scale of 0. */
void clusters_init();

/* Ends the machine on a CPU that the platform must never produce: the 33rd. */
[[nodiscard]] u32 get_cluster_by_cpu(unsigned int cpu);

/* Return: the index itself. Ends the machine on a third cluster. */
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

/* Of the big cluster's capacity, for both: what a small CPU can do at most is less than 100. */
[[nodiscard]] u64 percent_of_capacity(u64 value);

} /* namespace zem */
