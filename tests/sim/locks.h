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

/* The holder must not sleep, so in cooperative mode the lock is never contended. */
struct SpinLock {
	explicit SpinLock(std::string name_) : name(std::move(name_)) {}

	const std::string name;
	std::mutex lock;
	std::atomic<task_struct *> owner{nullptr};
};

/*
 * Always taken with interrupts off, because another context of the same CPU may take the lock.
 */
struct RawSpinLock : SpinLock {
	using SpinLock::SpinLock;
};

} /* namespace sim */
