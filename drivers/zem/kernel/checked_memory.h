/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Memory functions that a race detector checks. Builds with KCSAN, or with ThreadSanitizer on a
 * host, include this header before each C++ source: gcc expands copies and fills of constant size
 * inline after it has inserted the detector's calls.
 */
#pragma once

/* The compiler's own prototypes. */
extern "C" {
void __tsan_read_range(void *from, long size);
void __tsan_write_range(void *to, long size);
}

namespace zem {

/* Inline, so that a report names the caller. */
[[gnu::always_inline]] inline void *checked_memcpy(void *to, const void *from, unsigned long size)
{
	__tsan_read_range(const_cast<void *>(from), static_cast<long>(size));
	__tsan_write_range(to, static_cast<long>(size));
	return __builtin_memcpy(to, from, size);
}

[[gnu::always_inline]] inline void *checked_memset(void *to, int value, unsigned long size)
{
	__tsan_write_range(to, static_cast<long>(size));
	return __builtin_memset(to, value, size);
}

} /* namespace zem */

#define __builtin_memcpy ::zem::checked_memcpy
#define __builtin_memset ::zem::checked_memset
