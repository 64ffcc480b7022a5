/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The atomic instructions that CPUs have since Armv8.1 (LSE). Each of them does what otherwise
 * takes a loop of an exclusive load and an exclusive store, which repeats while other CPUs write
 * nearby. For atomic.h, whose functions decide. Words have 4 or 8 bytes. Context: any.
 */
#pragma once

#include "alternative.h"

#if defined(__aarch64__) && defined(ZEM_KERNEL)
#include "kernel/layout.gen.h"
#endif

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(hwaddress_sanitizer) || \
	__has_feature(thread_sanitizer)
#define ZEM_ACCESSES_ARE_CHECKED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_HWADDRESS__) || \
	defined(__SANITIZE_THREAD__)
#define ZEM_ACCESSES_ARE_CHECKED
#endif

/* A sanitizer checks the compiler's atomic functions, but not what an asm statement accesses. */
#if defined(KERNEL_ARM64_HAS_LSE_ATOMICS) && !defined(ZEM_ACCESSES_ARE_CHECKED)
#define ZEM_HAS_LSE
/* One instruction, with 4-byte and 8-byte registers, and the operands of the asm statement. */
#define ZEM_LSE(word, narrow, wide, ...)                                            \
	do {                                                                        \
		if constexpr (sizeof(word) == 4)                                    \
			asm volatile(".arch_extension lse\n\t" narrow __VA_ARGS__); \
		else                                                                \
			asm volatile(".arch_extension lse\n\t" wide __VA_ARGS__);   \
	} while (0)
#else
#define ZEM_LSE(...) __builtin_unreachable()
#endif

namespace zem::lse {

/* Do the CPUs have the instructions? One nop if they do, and a branch if they do not. */
[[nodiscard, gnu::always_inline]] inline bool is_present()
{
#ifdef ZEM_HAS_LSE
	asm goto(ZEM_ALTERNATIVE("b %l[absent]", "nop", "%c0")
		 :
		 : "i"(KERNEL_ARM64_HAS_LSE_ATOMICS)
		 :
		 : absent);
	return true;
absent:
#endif
	return false;
}

/* Not ordered. */
template <typename T>
[[gnu::always_inline]] inline void add([[maybe_unused]] T &word, [[maybe_unused]] T amount)
{
	ZEM_LSE(word, "stadd %w1, %0", "stadd %x1, %0", : "+Q"(word) : "r"(amount));
}

/* Sequentially consistent. The instruction must have a result, or it would not acquire. */
template <typename T>
[[gnu::always_inline]] inline void add_seq_cst([[maybe_unused]] T &word, [[maybe_unused]] T amount)
{
	[[maybe_unused]] T previous;
	ZEM_LSE(word, "ldaddal %w2, %w0, %1", "ldaddal %x2, %x0, %1", : "=r"(previous),
		"+Q"(word) : "r"(amount) : "memory");
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline T swap_acq_rel([[maybe_unused]] T &word,
							[[maybe_unused]] T value)
{
	T previous;
	ZEM_LSE(word, "swpal %w2, %w0, %1", "swpal %x2, %x0, %1", : "=r"(previous),
		"+Q"(word) : "r"(value) : "memory");
	return previous;
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline T swap_relaxed([[maybe_unused]] T &word,
							[[maybe_unused]] T value)
{
	T previous;
	ZEM_LSE(word, "swp %w2, %w0, %1", "swp %x2, %x0, %1", : "=r"(previous),
		"+Q"(word) : "r"(value));
	return previous;
}

} /* namespace zem::lse */

#undef ZEM_LSE
