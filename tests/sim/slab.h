/* SPDX-License-Identifier: GPL-2.0 */
/* Kernel memory. Every allocation is recorded, to detect leaks and double frees. Any thread. */
#pragma once

#include <cstddef>
#include <map>
#include <mutex>

namespace sim {

class Slab {
public:
	[[nodiscard]] void *allocate(size_t size);
	/* Return: false if no allocation begins at @memory. */
	[[nodiscard]] bool free(const void *memory);

	[[nodiscard]] size_t allocations();
	/* Frees everything. Return: the number of allocations. */
	size_t free_all();
	/* Return: whether one allocation covers the whole range. */
	[[nodiscard]] bool covers(const void *begin, size_t size);

private:
	std::mutex lock_;
	std::map<const void *, size_t> sizes_;
};

} /* namespace sim */
