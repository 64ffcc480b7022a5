/* SPDX-License-Identifier: GPL-2.0 */
/* Work deferred to a hard interrupt on the same CPU: <linux/irq_work.h>. */
#ifndef _ZEM_KERNEL_API_IRQ_WORK_H
#define _ZEM_KERNEL_API_IRQ_WORK_H

#include "types.h"

ZEM_API_BEGIN

struct irq_work;

void helper_irq_work_init(struct irq_work *work, void (*function)(struct irq_work *));
/* Return: false if it was queued already. Context: any, also under a run-queue lock. */
bool irq_work_queue(struct irq_work *work);
/* Waits until the work is neither queued nor running. Context: may sleep. */
void irq_work_sync(struct irq_work *work);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_IRQ_WORK_H */
