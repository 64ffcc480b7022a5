// SPDX-License-Identifier: GPL-2.0
/* irq_work: claimed while it is queued, and run once for each claim. */
#include "irq_work.h"

#include <utility>

#include "kernel.h"
#include "kernel/api/irq_work.h"

namespace sim {

void IrqWorks::init(irq_work *storage, void (*function)(irq_work *))
{
	IrqWork &work = handles_.make(storage, kernel_, storage, function);
	std::lock_guard guard(lock_);
	works_.push_back(&work);
}

bool IrqWorks::queue(IrqWork &work)
{
	if (work.pending.exchange(true))
		return false;
	Scheduler::current().irq_works.push_back(&work);
	interrupts_on();
	return true;
}

void IrqWorks::interrupts_on()
{
	if (Scheduler::interrupts_off(Scheduler::current()) ||
	    held_.load(std::memory_order_relaxed))
		return;
	run();
}

size_t IrqWorks::release()
{
	held_.store(false, std::memory_order_relaxed);
	return run();
}

size_t IrqWorks::run()
{
	if (Scheduler::current().irq_works.empty())
		return 0;
	const std::vector<IrqWork *> works = std::exchange(Scheduler::current().irq_works, {});
	for (IrqWork *work : works) {
		work->gate.change([work] {
			work->running.store(true);
			/* From here on the work may be queued again. */
			work->pending.store(false);
		});
		kernel_.interrupt([work] { work->function(work->storage); });
		work->gate.change([work] { work->running.store(false); });
	}
	return works.size();
}

void IrqWorks::sync(IrqWork &work)
{
	kernel_.might_sleep("irq_work_sync");
	kernel_.faults.strikes("irq_work_sync");
	/* Run the work that the test holds back: the caller waits for it. */
	static_cast<void>(release());
	work.gate.wait("the end of an irq work",
		       [&] { return !work.pending.load() && !work.running.load(); });
}

size_t IrqWorks::pending()
{
	std::lock_guard guard(lock_);
	size_t found = 0;
	for (const IrqWork *work : works_)
		found += work->pending.load() || work->running.load();
	return found;
}

void IrqWorks::forget()
{
	for (size_t left = pending(); left > 0; left--)
		kernel_.problems.add("an irq work is pending when its code goes away");
	std::lock_guard guard(lock_);
	works_.clear();
}

} /* namespace sim */

using sim::Kernel;

namespace {

sim::IrqWork &work_of(struct irq_work *work, const char *call)
{
	return sim::Handles<sim::IrqWork>::of(work, call);
}

} /* namespace */

void helper_irq_work_init(struct irq_work *work, void (*function)(struct irq_work *))
{
	Kernel::get().irq_works.init(work, function);
}

bool irq_work_queue(struct irq_work *work)
{
	return Kernel::get().irq_works.queue(work_of(work, "irq_work_queue"));
}

void irq_work_sync(struct irq_work *work)
{
	Kernel::get().irq_works.sync(work_of(work, "irq_work_sync"));
}
