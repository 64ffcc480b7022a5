/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A variable with one instance for each CPU. Define it as
 *	ZEM_PERCPU constinit PerCpu<Counters> counters;
 * Any context; who uses mine() stays on its CPU for as long as it does.
 */
#pragma once

#include "api/percpu.h"

#ifdef ZEM_KERNEL
#define ZEM_PERCPU [[gnu::section(".data..percpu")]]
#else
#define ZEM_PERCPU
#endif

namespace zem {

template <typename T>
class PerCpu {
public:
	constexpr PerCpu() = default;
	PerCpu(const PerCpu &) = delete;
	PerCpu &operator=(const PerCpu &) = delete;

	[[nodiscard]] T &mine() { return *static_cast<T *>(helper_this_cpu_ptr(&prototype_)); }

	[[nodiscard]] T &of(unsigned int cpu)
	{
		return *static_cast<T *>(helper_per_cpu_ptr(&prototype_, cpu));
	}

private:
	T prototype_{};
};

} /* namespace zem */
