/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Calls a function in NMIs of one CPU, some hundred a second. They come from the CPU's cycle
 * counter, whose interrupts the kernel does not mask if it has CONFIG_ARM64_PSEUDO_NMI and was
 * booted with irqchip.gicv3_pseudo_nmi=1.
 */
#ifndef _ZEM_PLATFORM_NMI_SOURCE_H
#define _ZEM_PLATFORM_NMI_SOURCE_H

#include <linux/types.h>

/*
 * Calls @fn until it returns false. The caller runs on @cpu, and keeps it busy: the kernel
 * throttles counters from tick to tick, and an idle CPU has no ticks. Return: 0; -EOPNOTSUPP if the
 * machine has no such counter, or its interrupts can be masked; -ENODEV if the CPU is not online.
 */
int call_in_nmis(int cpu, bool (*fn)(void *data), void *data);

#endif /* _ZEM_PLATFORM_NMI_SOURCE_H */
