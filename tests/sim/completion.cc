// SPDX-License-Identifier: GPL-2.0
/* Completions: signals are counted, and each wait consumes one. */
#include "kernel/api/completion.h"

#include "kernel.h"

using sim::Kernel;

namespace {

sim::Completion &completion_of(struct completion *x, const char *call)
{
	return sim::Handles<sim::Completion>::of(x, call);
}

} /* namespace */

bool helper_may_complete(void)
{
	return !sim::Scheduler::interrupts_off(sim::Scheduler::current());
}

void helper_init_completion(struct completion *x)
{
	Kernel &kernel = Kernel::get();
	kernel.completions.make(x, kernel, sim::symbol_name(x));
}

void helper_reinit_completion(struct completion *x)
{
	Kernel::get().faults.strikes("reinit_completion");
	sim::Completion &completion = completion_of(x, "reinit_completion");
	completion.gate.change([&] { completion.done = 0; });
}

void complete(struct completion *x)
{
	Kernel::get().faults.strikes("complete");
	/* It wakes a task, which takes the task's run-queue lock. */
	if (sim::Scheduler::current().run_queue_locked)
		Kernel::get().problems.add("complete() under a run-queue lock");
	sim::Completion &completion = completion_of(x, "complete");
	completion.gate.change([&] { completion.done++; });
}

unsigned long wait_for_completion_timeout(struct completion *x, unsigned long timeout)
{
	Kernel &kernel = Kernel::get();
	sim::Completion &completion = completion_of(x, "wait_for_completion_timeout");
	kernel.might_sleep("wait_for_completion_timeout");
	kernel.faults.strikes("wait_for_completion_timeout");

	const sim::Ticks end = kernel.clock.ticks() + timeout;
	if (!completion.gate.wait(
		    "completion " + completion.name, [&] { return completion.done > 0; }, end,
		    [&] { completion.done--; }))
		return 0;
	const sim::Ticks now = kernel.clock.ticks();
	return now < end ? end - now : 1;
}

void helper_wait_for_completion_idle(struct completion *x)
{
	Kernel &kernel = Kernel::get();
	sim::Completion &completion = completion_of(x, "wait_for_completion");
	kernel.might_sleep("wait_for_completion");
	kernel.faults.strikes("wait_for_completion");
	completion.gate.wait(
		"completion " + completion.name, [&] { return completion.done > 0; }, {},
		[&] { completion.done--; });
}
