/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A value that several contexts access without a lock, by relaxed atomic loads and stores. They
 * compile to the same instructions as plain accesses. Context: any.
 */
#pragma once

#include "atomic.h"

namespace zem {

template <typename T>
class Relaxed {
public:
	constexpr Relaxed(T initial = T{}) : value_(initial) {}
	Relaxed(const Relaxed &) = delete;
	Relaxed &operator=(const Relaxed &) = delete;

	[[nodiscard]] T load() const { return read_once(value_); }

	void store(T value) { write_once(value_, value); }

	/* For a pointer: a CPU that loads it sees everything written to the object before. */
	void publish(T value) { smp_store_release(value_, value); }

private:
	T value_;
};

} /* namespace zem */
