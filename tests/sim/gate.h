/* SPDX-License-Identifier: GPL-2.0 */
/*
 * State that tasks wait for, behind a lock of its own: all that blocks is built on it. When
 * threads run freely it orders those that use the same gate, as the lock inside the kernel's
 * own object would, and no others.
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

	/* Runs @change under the lock, then lets the waiters look again. */
	template <typename Change>
	void change(Change change)
	{
		{
			std::lock_guard guard(lock_);
			change();
		}
		changed_.notify_all();
	}

	/* Runs @look under the lock and returns what it returns. */
	template <typename Look>
	auto look(Look look)
	{
		std::lock_guard guard(lock_);
		return look();
	}

	/*
	 * Blocks until @condition holds, then runs @take, both under the lock.
	 * Return: false if @deadline came first.
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
