/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A value that several contexts access without a lock, by relaxed atomic loads and stores. They
 * compile to the same instructions as plain accesses. Context: any.
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

	/* For a pointer: a CPU that loads it sees everything written to the object before. */
	void publish(T value) { __atomic_store_n(&value_, value, __ATOMIC_RELEASE); }

private:
	T value_;
};

} /* namespace zem */
