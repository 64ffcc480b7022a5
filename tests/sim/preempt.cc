// SPDX-License-Identifier: GPL-2.0
/* Preemption, counted for each task. */
#include "kernel/api/preempt.h"

#include "kernel.h"

void helper_preempt_disable(void)
{
	task_struct &task = sim::Scheduler::current();
	task.preempt_count++;
	task.preempt_disables++;
}

void helper_preempt_enable(void)
{
	task_struct &task = sim::Scheduler::current();
	if (task.preempt_count-- == 0)
		sim::Kernel::get().problems.add("preempt_enable without preempt_disable by " +
						task.name);
}
