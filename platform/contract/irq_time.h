/* SPDX-License-Identifier: GPL-2.0 */
/* The time that each CPU has spent in hard interrupts. */
#ifndef _ZEM_PLATFORM_IRQ_TIME_H
#define _ZEM_PLATFORM_IRQ_TIME_H

#include <linux/percpu.h>
#include <linux/types.h>

/* ns. Written by its CPU in hard interrupts, or by any CPU while no hook is raised live. */
DECLARE_PER_CPU(u64, cpu_irqtime);

#endif /* _ZEM_PLATFORM_IRQ_TIME_H */
