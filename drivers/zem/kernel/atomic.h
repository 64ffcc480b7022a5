/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Marked accesses to words that several contexts share without a lock, under the kernel's names.
 * The words are plain integers or pointers, because most are fields of records and of the
 * platform's structures. Context: any.
 */
#pragma once

#include "api/types.h"
#include "lse.h"

namespace zem {

template <typename T>
struct Identity {
	using Type = T;
};

/* Excludes an argument from the deduction of T. */
template <typename T>
using ValueOf = typename Identity<T>::Type;

template <typename T>
[[nodiscard, gnu::always_inline]] inline T read_once(const T &word)
{
	return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

template <typename T>
[[gnu::always_inline]] inline void write_once(T &word, ValueOf<T> value)
{
	__atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline T smp_load_acquire(const T &word)
{
	return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <typename T>
[[gnu::always_inline]] inline void smp_store_release(T &word, ValueOf<T> value)
{
	__atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

/* Locking: caller holds rcu_read_lock() as long as it uses the object. */
template <typename T>
[[nodiscard, gnu::always_inline]] inline T *rcu_dereference(T *const &pointer)
{
	return __atomic_load_n(&pointer, __ATOMIC_CONSUME);
}

/* Not ordered. Concurrent callers may add to the same word. */
template <typename T>
[[gnu::always_inline]] inline void atomic_add(ValueOf<T> amount, T &word)
{
	if (lse::is_present()) [[likely]]
		lse::add(word, amount);
	else
		__atomic_fetch_add(&word, amount, __ATOMIC_RELAXED);
}

template <typename T>
[[gnu::always_inline]] inline void atomic_sub(ValueOf<T> amount, T &word)
{
	atomic_add(T{} - amount, word);
}

/*
 * All calls of these three, on whichever words, have one order that each CPU sees. A word that is
 * stored before another one is loaded is thus seen by a CPU that does the opposite, or the other
 * way round.
 */
template <typename T>
[[gnu::always_inline]] inline void add_seq_cst(ValueOf<T> amount, T &word)
{
	if (lse::is_present()) [[likely]]
		lse::add_seq_cst(word, amount);
	else
		__atomic_fetch_add(&word, amount, __ATOMIC_SEQ_CST);
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline T load_seq_cst(const T &word)
{
	return __atomic_load_n(&word, __ATOMIC_SEQ_CST);
}

template <typename T>
[[gnu::always_inline]] inline void store_seq_cst(T &word, ValueOf<T> value)
{
	__atomic_store_n(&word, value, __ATOMIC_SEQ_CST);
}

/* For a word with a single writer, such as the counter of a CPU. Others use read_once(). */
template <typename T>
[[gnu::always_inline]] inline void add_once(ValueOf<T> amount, T &word)
{
	write_once(word, read_once(word) + amount);
}

/* Acquire and release. Return: the previous value. */
template <typename T>
[[nodiscard, gnu::always_inline]] inline T xchg(T &word, ValueOf<T> value)
{
	return lse::is_present() ? lse::swap_acq_rel(word, value) :
				   __atomic_exchange_n(&word, value, __ATOMIC_ACQ_REL);
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline T xchg_relaxed(T &word, ValueOf<T> value)
{
	return lse::is_present() ? lse::swap_relaxed(word, value) :
				   __atomic_exchange_n(&word, value, __ATOMIC_RELAXED);
}

/*
 * Each stores @value if the word equals @expected.
 * Return: whether it did; otherwise @expected is set to the word's value.
 */
template <typename T>
[[nodiscard, gnu::always_inline]] inline bool try_cmpxchg_relaxed(T &word, T &expected,
								  ValueOf<T> value)
{
	return __atomic_compare_exchange_n(&word, &expected, value, false, __ATOMIC_RELAXED,
					   __ATOMIC_RELAXED);
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline bool try_cmpxchg_acquire(T &word, T &expected,
								  ValueOf<T> value)
{
	return __atomic_compare_exchange_n(&word, &expected, value, false, __ATOMIC_ACQUIRE,
					   __ATOMIC_RELAXED);
}

template <typename T>
[[nodiscard, gnu::always_inline]] inline bool try_cmpxchg_release(T &word, T &expected,
								  ValueOf<T> value)
{
	return __atomic_compare_exchange_n(&word, &expected, value, false, __ATOMIC_RELEASE,
					   __ATOMIC_RELAXED);
}

} /* namespace zem */
