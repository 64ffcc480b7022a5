// SPDX-License-Identifier: GPL-2.0
/*
 * Static keys. On a host a key is only a count, and a test of the key reads it. As in the kernel,
 * the count is negative while code is patched, and disabling the key then warns.
 */
#include "kernel/api/jump_label.h"

#include <thread>

#include "kernel.h"

namespace {

/* The count is the first member of a key. */
int *count_of(struct static_key *key)
{
	return reinterpret_cast<int *>(key);
}

} /* namespace */

void static_key_enable(struct static_key *key)
{
	sim::Kernel::get().might_sleep("static_key_enable");
	int off = 0;
	if (!__atomic_compare_exchange_n(count_of(key), &off, -1, false, __ATOMIC_RELAXED,
					 __ATOMIC_RELAXED))
		return;
	std::this_thread::yield(); /* while the code is patched */
	__atomic_store_n(count_of(key), 1, __ATOMIC_RELAXED);
}

void static_key_disable(struct static_key *key)
{
	sim::Kernel::get().might_sleep("static_key_disable");
	if (__atomic_exchange_n(count_of(key), 0, __ATOMIC_RELAXED) < 0)
		sim::Kernel::get().problems.add(
			"static_key_disable while the key is being enabled");
}

int static_key_count(struct static_key *key)
{
	const int count = __atomic_load_n(count_of(key), __ATOMIC_RELAXED);
	return count < 0 ? 1 : count;
}
