// SPDX-License-Identifier: GPL-2.0
/* The inline functions of <linux/cpumask.h>. */
#include <linux/cpumask.h>

#include "../api/cpumask.h"

bool helper_cpu_online(unsigned int cpu)
{
	return cpu < nr_cpu_ids && cpu_online(cpu);
}

bool helper_cpu_possible(unsigned int cpu)
{
	return cpu < nr_cpu_ids && cpu_possible(cpu);
}

unsigned int helper_nr_cpu_ids(void)
{
	return nr_cpu_ids;
}
