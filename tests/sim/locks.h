/* SPDX-License-Identifier: GPL-2.0 */
/* Completions, mutexes and spinlocks. */
#pragma once

#include <string>

#include "gate.h"

namespace sim {

struct Completion {
	explicit Completion(Kernel &kernel, std::string name_)
		: name(std::move(name_)), gate(kernel)
	{
	}

	const std::string name;
	Gate gate;
	unsigned int done = 0;
};

struct Mutex {
	explicit Mutex(Kernel &kernel, std::string name_) : name(std::move(name_)), gate(kernel) {}

	const std::string name;
	Gate gate;
	task_struct *owner = nullptr;
};

/* Its holder may not sleep, so in the cooperative mode nobody ever finds it taken. */
struct SpinLock {
	explicit SpinLock(std::string name_) : name(std::move(name_)) {}

	const std::string name;
	std::mutex lock;
	std::atomic<task_struct *> owner{nullptr};
};

/*
 * Taken with interrupts off at all times, as a lock must be that one context of a CPU can take
 * while another of the same CPU holds it.
 */
struct RawSpinLock : SpinLock {
	using SpinLock::SpinLock;
};

} /* namespace sim */
