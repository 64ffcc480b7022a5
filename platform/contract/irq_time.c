// SPDX-License-Identifier: GPL-2.0
/* Defines the per-CPU sum of interrupt time that zem reads. */
#include <linux/export.h>

#include "irq_time.h"

DEFINE_PER_CPU(u64, cpu_irqtime);
EXPORT_PER_CPU_SYMBOL_GPL(cpu_irqtime);
