/* SPDX-License-Identifier: GPL-2.0 */
/*
 * State that tasks wait for, with its own lock. Everything that blocks uses it. When threads run
 * freely, a gate orders only the threads that use it, as the lock inside a kernel object does.
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "clock.h"
#include "scheduler.h"

namespace sim {

class Kernel;

class Gate {
public:
	explicit Gate(Kernel &kernel) : kernel_(kernel) {}

	/* Runs @change under the lock, then lets the waiters check their conditions. */
	template <typename Change>
	void change(Change change)
	{
		{
			std::lock_guard guard(lock_);
			change();
		}
		changed_.notify_all();
	}

	/* Runs @look under the lock and returns its result. */
	template <typename Look>
	auto look(Look look)
	{
		std::lock_guard guard(lock_);
		return look();
	}

	/*
	 * Blocks until @condition holds, then runs @take, both under the lock.
	 * Return: false if @deadline passed before.
	 */
	template <typename Condition, typename Take = void (*)()>
	bool wait(
		const std::string &what, Condition condition, std::optional<Ticks> deadline = {},
		Take take = [] {});

private:
	Kernel &kernel_;
	std::mutex lock_;
	std::condition_variable changed_;
};

} /* namespace sim */
