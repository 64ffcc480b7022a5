/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Work that is put off to a hard interrupt: it comes on the CPU that queued the work, as soon as
 * that has its interrupts on again, or when the test lets it. Any thread.
 */
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "gate.h"
#include "handle.h"

struct irq_work;

namespace sim {

class Kernel;

struct IrqWork {
	IrqWork(Kernel &kernel, irq_work *storage_, void (*function_)(irq_work *))
		: storage(storage_), function(function_), gate(kernel)
	{
	}

	irq_work *const storage;
	void (*const function)(irq_work *);
	std::atomic<bool> pending{false};
	std::atomic<bool> running{false};
	Gate gate; /* for who waits for its end */
};

class IrqWorks {
public:
	explicit IrqWorks(Kernel &kernel) : kernel_(kernel) {}

	/* From now on the interrupt comes when run() is called. */
	void hold() { held_.store(true, std::memory_order_relaxed); }
	/* What the calling task has queued, if no longer held. Return: how many ran. */
	size_t release();
	/* Of all CPUs, queued and not run. */
	[[nodiscard]] size_t pending();

	/* The kernel's side. */
	void init(irq_work *storage, void (*function)(irq_work *));
	[[nodiscard]] bool queue(IrqWork &work);
	void sync(IrqWork &work);
	/* Where the calling task has its interrupts on again. */
	void interrupts_on();
	/* The code behind them goes away: notes a problem for each that is still to run. */
	void forget();

private:
	size_t run();

	Kernel &kernel_;
	std::atomic<bool> held_{false};
	Handles<IrqWork> handles_;
	std::mutex lock_;
	std::vector<IrqWork *> works_;
};

} /* namespace sim */
