// SPDX-License-Identifier: GPL-2.0
/* The inline functions of <linux/irq_work.h>. */
#include <linux/irq_work.h>

#include "../api/irq_work.h"

void helper_irq_work_init(struct irq_work *work, void (*function)(struct irq_work *))
{
	init_irq_work(work, function);
}
