/* SPDX-License-Identifier: GPL-2.0 */
/* A number of places, of which concurrent callers take and return some. Context: any. */
#pragma once

#include "atomic.h"

namespace zem {

template <u32 kMost>
class BoundedCount {
public:
	constexpr BoundedCount() = default;
	BoundedCount(const BoundedCount &) = delete;
	BoundedCount &operator=(const BoundedCount &) = delete;

	/* Return: whether a place was free; put() returns it. */
	[[nodiscard]] bool take()
	{
		u32 taken = read_once(taken_);
		do {
			if (taken >= kMost)
				return false;
		} while (!try_cmpxchg_relaxed(taken_, taken, taken + 1));
		return true;
	}

	void put() { atomic_sub(1, taken_); }

private:
	u32 taken_ = 0;
};

} /* namespace zem */
