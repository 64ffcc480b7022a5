/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Work that is deferred to a hard interrupt. It runs on the CPU that queued it, when that CPU
 * enables interrupts or when the test releases it. Any thread.
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
	Gate gate; /* for waiting until it has run */
};

class IrqWorks {
public:
	explicit IrqWorks(Kernel &kernel) : kernel_(kernel) {}

	/* From now on the interrupts wait for release(). */
	void hold() { held_.store(true, std::memory_order_relaxed); }
	/* Runs the work of the calling task unless it is held. Return: how many ran. */
	size_t release();
	/* Number of queued works of all CPUs. */
	[[nodiscard]] size_t pending();

	/* For the kernel's functions. */
	void init(irq_work *storage, void (*function)(irq_work *));
	[[nodiscard]] bool queue(IrqWork &work);
	void sync(IrqWork &work);
	/* Called when the calling task enables interrupts. */
	void interrupts_on();
	/* The module's code is being freed: notes a problem for each queued work. */
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
