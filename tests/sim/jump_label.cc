// SPDX-License-Identifier: GPL-2.0
/* Static keys: on a host the count in the key is all there is, so reading it is the test. */
#include "kernel/api/jump_label.h"

#include "kernel.h"

namespace {

/* The count is the first thing in a key. */
int *count_of(struct static_key *key)
{
	return reinterpret_cast<int *>(key);
}

} /* namespace */

void static_key_enable(struct static_key *key)
{
	sim::Kernel::get().might_sleep("static_key_enable");
	__atomic_store_n(count_of(key), 1, __ATOMIC_RELAXED);
}

void static_key_disable(struct static_key *key)
{
	sim::Kernel::get().might_sleep("static_key_disable");
	__atomic_store_n(count_of(key), 0, __ATOMIC_RELAXED);
}

int static_key_count(struct static_key *key)
{
	return __atomic_load_n(count_of(key), __ATOMIC_RELAXED);
}
