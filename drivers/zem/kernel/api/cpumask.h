/* SPDX-License-Identifier: GPL-2.0 */
/* CPUs: <linux/cpumask.h>. Any context. */
#ifndef _ZEM_KERNEL_API_CPUMASK_H
#define _ZEM_KERNEL_API_CPUMASK_H

#include "types.h"

ZEM_API_BEGIN

bool helper_cpu_online(unsigned int cpu);
bool helper_cpu_possible(unsigned int cpu);
/* Return: the highest possible CPU id of this machine plus one. */
unsigned int helper_nr_cpu_ids(void);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_CPUMASK_H */
