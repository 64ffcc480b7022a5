/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Data that a lock guards, accessible only while the lock is held:
 *
 *	constinit Guarded<Totals, Mutex> totals;
 *
 *	totals.init("zem_totals");
 *	const u64 sum = totals.with([](Totals &totals) { return totals.sum; });
 */
#pragma once

#include "lock.h"

namespace zem {

template <typename Data, typename Lock>
class Guarded {
public:
	constexpr Guarded() = default;
	Guarded(const Guarded &) = delete;
	Guarded &operator=(const Guarded &) = delete;

	/* Call before with(). @arguments are those of the lock's init(). */
	template <typename... Arguments>
	void init(Arguments &...arguments)
	{
		lock_.init(arguments...);
	}

	/*
	 * Calls @use with the data and the lock held; the lock's rules apply to with() and @use. No
	 * reference to the data may outlive the call.
	 * Return: the result of @use.
	 */
	template <typename Use>
	auto with(Use use)
	{
		LockGuard guard(lock_);
		return use(data_);
	}

private:
	Lock lock_;
	Data data_{};
};

} /* namespace zem */
