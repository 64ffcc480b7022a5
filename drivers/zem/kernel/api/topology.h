/* SPDX-License-Identifier: GPL-2.0 */
/* Which CPUs are alike: <linux/arch_topology.h>. Any context. */
#ifndef _ZEM_KERNEL_API_TOPOLOGY_H
#define _ZEM_KERNEL_API_TOPOLOGY_H

#include "types.h"

ZEM_API_BEGIN

/* Return: the package that a possible CPU is in. */
unsigned int helper_cpu_package(unsigned int cpu);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TOPOLOGY_H */
