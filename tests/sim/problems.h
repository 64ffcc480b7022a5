/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the module did that a kernel would not forgive (a leak, sleeping in atomic context, a
 * lock used before it was initialised, ...). A test fails if any are left at its end. Any thread.
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

	/* Return: the problems so far, which are then forgotten. */
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
