/* SPDX-License-Identifier: GPL-2.0 */
/* Packages of CPUs: <linux/arch_topology.h>. Context: any. */
#ifndef _ZEM_KERNEL_API_TOPOLOGY_H
#define _ZEM_KERNEL_API_TOPOLOGY_H

#include "types.h"

ZEM_API_BEGIN

/* Return: the package of a possible CPU. */
unsigned int helper_cpu_package(unsigned int cpu);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_TOPOLOGY_H */
