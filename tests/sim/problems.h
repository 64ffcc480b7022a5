/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Mistakes of the module that a kernel would not tolerate: a leak, sleeping in atomic context, use
 * of an uninitialised lock, and so on. A test with a problem at its end fails. Any thread.
 */
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace sim {

class Problems {
public:
	void add(std::string text)
	{
		std::lock_guard guard(lock_);
		texts_.push_back(std::move(text));
	}

	/* Returns the problems so far, and clears them. */
	[[nodiscard]] std::vector<std::string> take()
	{
		std::lock_guard guard(lock_);
		return std::exchange(texts_, {});
	}

private:
	std::mutex lock_;
	std::vector<std::string> texts_;
};

} /* namespace sim */
