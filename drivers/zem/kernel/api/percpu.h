/* SPDX-License-Identifier: GPL-2.0 */
/* Per-CPU variables: <linux/percpu.h>. Context: any; the caller prevents migration. */
#ifndef _ZEM_KERNEL_API_PERCPU_H
#define _ZEM_KERNEL_API_PERCPU_H

#include "types.h"

ZEM_API_BEGIN

/* @variable: address of a variable in the section .data..percpu. */
void *helper_this_cpu_ptr(void *variable);
void *helper_per_cpu_ptr(void *variable, unsigned int cpu);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PERCPU_H */
