// SPDX-License-Identifier: GPL-2.0
/* The address macros of <linux/percpu.h>. */
#include <linux/percpu.h>

#include "../api/percpu.h"

void *helper_this_cpu_ptr(void *variable)
{
	return this_cpu_ptr((void __percpu *)variable);
}

void *helper_per_cpu_ptr(void *variable, unsigned int cpu)
{
	return per_cpu_ptr((void __percpu *)variable, cpu);
}
