/* SPDX-License-Identifier: GPL-2.0 */
/* Kernel memory: every allocation is known, so that leaks and double frees are. Any thread. */
#pragma once

#include <cstddef>
#include <map>
#include <mutex>

namespace sim {

class Slab {
public:
	[[nodiscard]] void *allocate(size_t size);
	/* Return: false if nothing begins at @memory. */
	[[nodiscard]] bool free(const void *memory);

	[[nodiscard]] size_t allocations();
	/* Return: how many allocations were left. */
	size_t free_all();
	/* Whether one allocation covers all of the range. */
	[[nodiscard]] bool covers(const void *begin, size_t size);

private:
	std::mutex lock_;
	std::map<const void *, size_t> sizes_;
};

} /* namespace sim */
