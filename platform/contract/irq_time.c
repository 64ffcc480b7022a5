// SPDX-License-Identifier: GPL-2.0
/*
 * Defines the per-CPU sum of interrupt time that zem reads. It is written by its CPU in hard
 * interrupts, or by any CPU while no hook is raised live.
 */
#include <linux/export.h>
#include <linux/percpu.h>

#include "contract.h"

DEFINE_PER_CPU(u64, cpu_irqtime);
EXPORT_PER_CPU_SYMBOL_GPL(cpu_irqtime);
