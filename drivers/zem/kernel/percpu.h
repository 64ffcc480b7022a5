/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A variable with one instance for each CPU. Define it as
 *	ZEM_PERCPU constinit PerCpu<Counters> counters;
 * Context: any. A caller of mine() must not migrate while it uses the result.
 */
#pragma once

#include "alternative.h"
#include "api/percpu.h"
#include "kernel/layout.gen.h"

#ifdef ZEM_KERNEL
#define ZEM_PERCPU [[gnu::section(".data..percpu")]]
#else
/* Outside the kernel, a separate section whose instances the simulated kernel creates. */
#define ZEM_PERCPU [[gnu::section("zem_percpu")]]
#endif

namespace zem {

#if defined(__aarch64__) && defined(ZEM_KERNEL)
register const unsigned long *zem_stack_pointer asm("sp");

/*
 * Returns the offset from a per-CPU variable to this CPU's instance. One of two system registers
 * holds it: at load the kernel patches the instruction for EL2, as it does for its own. The offset
 * may change wherever preemption is possible, that is at the kernel's barrier(). The stack word as
 * input prevents the compiler from reusing an offset from before a barrier.
 */
[[nodiscard, gnu::always_inline]] inline unsigned long this_cpu_offset()
{
	unsigned long offset;
	asm(ZEM_ALTERNATIVE("mrs %0, tpidr_el1", "mrs %0, tpidr_el2", "%c1")
	    : "=r"(offset)
	    : "i"(KERNEL_ARM64_HAS_VIRT_HOST_EXTN), "Q"(*zem_stack_pointer));
	return offset;
}
#endif

template <typename T>
class PerCpu {
public:
	constexpr PerCpu() = default;
	PerCpu(const PerCpu &) = delete;
	PerCpu &operator=(const PerCpu &) = delete;

	[[nodiscard, gnu::always_inline]] T &mine()
	{
#if defined(__aarch64__) && defined(ZEM_KERNEL)
		return *reinterpret_cast<T *>(reinterpret_cast<unsigned long>(&prototype_) +
					      this_cpu_offset());
#else
		return *static_cast<T *>(helper_this_cpu_ptr(&prototype_));
#endif
	}

	[[nodiscard]] T &of(unsigned int cpu)
	{
		return *static_cast<T *>(helper_per_cpu_ptr(&prototype_, cpu));
	}

private:
	T prototype_{};
};

} /* namespace zem */
