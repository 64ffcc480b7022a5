// SPDX-License-Identifier: GPL-2.0
/* The scale of each cluster, computed from the platform's reference frequency. */
#include "load/clusters.h"

#include "kernel/api/topology.h"
#include "kernel/container_of.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace zem {

constinit ClusterUnit cpu_cluster_unit[kClusters]{};

namespace {

constexpr unsigned int kMostCpus = 32;
constexpr u64 kScaleUnit = 1000000;

constexpr u64 kSmallCapacity = 25890;
constexpr u64 kBigCapacity = ZEM_CAPACITY_FULL;

const platform_cluster &cluster_of_node(const list_head &node)
{
	return *container_of(&node, platform_cluster, list);
}

} /* namespace */

void clusters_init()
{
	cpu_cluster_unit[0].capacity = kSmallCapacity;
	cpu_cluster_unit[1].capacity = kBigCapacity;

	for (const list_head *node = cluster_head.next; node != &cluster_head; node = node->next) {
		const platform_cluster &cluster = cluster_of_node(*node);
		ClusterUnit &unit = cpu_cluster_unit[checked_cluster(cluster.index)];
		unit.ref_freq = cluster.ref_freq;
		unit.scale = unit.ref_freq ? unit.capacity * kScaleUnit / unit.ref_freq : 0;
	}
}

u32 get_cluster_by_cpu(unsigned int cpu)
{
	if (cpu >= kMostCpus)
		helper_bug();
	return helper_cpu_package(cpu);
}

u64 percent_of_capacity(u64 value)
{
	const u64 capacity = cpu_cluster_unit[1].capacity;
	return capacity ? value * 100 / capacity : 0;
}

} /* namespace zem */
