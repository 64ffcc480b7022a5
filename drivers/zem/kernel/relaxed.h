/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A value that several contexts read and write without a lock: relaxed atomic loads and stores,
 * the same instructions as plain ones, but defined. Any context.
 */
#pragma once

namespace zem {

template <typename T>
class Relaxed {
public:
	constexpr Relaxed(T initial = T{}) : value_(initial) {}
	Relaxed(const Relaxed &) = delete;
	Relaxed &operator=(const Relaxed &) = delete;

	[[nodiscard]] T load() const { return __atomic_load_n(&value_, __ATOMIC_RELAXED); }

	void store(T value) { __atomic_store_n(&value_, value, __ATOMIC_RELAXED); }

	/* For a pointer: a CPU that loads it sees all that was written to the object before. */
	void publish(T value) { __atomic_store_n(&value_, value, __ATOMIC_RELEASE); }

private:
	T value_;
};

} /* namespace zem */
