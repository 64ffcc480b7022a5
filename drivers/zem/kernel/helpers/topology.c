// SPDX-License-Identifier: GPL-2.0
/* The table of <linux/arch_topology.h>. */
#include <linux/arch_topology.h>

#include "../api/topology.h"

unsigned int helper_cpu_package(unsigned int cpu)
{
	return cpu_topology[cpu].package_id;
}
