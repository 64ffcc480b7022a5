// SPDX-License-Identifier: GPL-2.0
/* kzalloc and kfree. */
#include "slab.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

#include "kernel/api/slab.h"
#include "kernel.h"

namespace sim {

/* Aligns a size that is a power of two to itself, as the kernel does. */
void *Slab::allocate(size_t size)
{
	constexpr size_t kLeastAlignment = 8;
	const size_t alignment = std::has_single_bit(size) ? std::max(size, sizeof(void *)) :
							     kLeastAlignment;
	void *memory = nullptr;
	if (posix_memalign(&memory, alignment, size) != 0)
		std::abort();
	memset(memory, 0, size);

	std::lock_guard guard(lock_);
	sizes_[memory] = size;
	return memory;
}

bool Slab::free(const void *memory)
{
	{
		std::lock_guard guard(lock_);
		if (sizes_.erase(memory) == 0)
			return false;
	}
	::free(const_cast<void *>(memory));
	return true;
}

size_t Slab::allocations()
{
	std::lock_guard guard(lock_);
	return sizes_.size();
}

size_t Slab::free_all()
{
	std::lock_guard guard(lock_);
	const size_t left = sizes_.size();
	for (const auto &[memory, size] : sizes_)
		::free(const_cast<void *>(memory));
	sizes_.clear();
	return left;
}

bool Slab::covers(const void *begin, size_t size)
{
	std::lock_guard guard(lock_);
	auto after = sizes_.upper_bound(begin);
	if (after == sizes_.begin())
		return false;
	const auto &[start, length] = *std::prev(after);
	const auto offset = static_cast<size_t>(static_cast<const char *>(begin) -
						static_cast<const char *>(start));
	return offset <= length && size <= length - offset;
}

} /* namespace sim */

void *helper_kzalloc(size_t size)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.might_sleep("kzalloc");
	return kernel.faults.strikes("kzalloc") ? nullptr : kernel.slab.allocate(size);
}

void *helper_kzalloc_atomic(size_t size)
{
	sim::Kernel &kernel = sim::Kernel::get();
	if (sim::Scheduler::current().run_queue_locked)
		kernel.problems.add("kzalloc under a run-queue lock");
	return kernel.faults.strikes("kzalloc_atomic") ? nullptr : kernel.slab.allocate(size);
}

void kfree(const void *memory)
{
	sim::Kernel &kernel = sim::Kernel::get();
	kernel.faults.strikes("kfree");
	if (memory && !kernel.slab.free(memory))
		kernel.problems.add("kfree of memory that is not allocated");
}
