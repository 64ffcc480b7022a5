/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A variable with one instance for each CPU. Define it as
 *	ZEM_PERCPU constinit PerCpu<Counters> counters;
 * Any context; who uses mine() stays on its CPU for as long as it does.
 */
#pragma once

#include "api/percpu.h"
#include "kernel/layout.gen.h"

#ifdef ZEM_KERNEL
#define ZEM_PERCPU [[gnu::section(".data..percpu")]]
#else
/* Elsewhere a section of its own too, of which whoever plays the kernel makes the instances. */
#define ZEM_PERCPU [[gnu::section("zem_percpu")]]
#endif

namespace zem {

#if defined(__aarch64__) && defined(ZEM_KERNEL)
register const unsigned long *zem_stack_pointer asm("sp");

/*
 * What to add to a per-CPU variable's address for this CPU's instance. It is in one of two system
 * registers: the kernel patches the instruction at load, as it does its own, when it runs at EL2.
 * The offset may change wherever preemption is possible, which the kernel's barrier() stands for. A
 * word on the stack as input keeps the compiler from using an offset of before such a barrier.
 */
[[nodiscard, gnu::always_inline]] inline unsigned long this_cpu_offset()
{
	unsigned long offset;
	asm("661:	mrs %0, tpidr_el1\n"
	    "662:\n"
	    "	.pushsection .altinstructions, \"a\"\n"
	    "	.word 661b - .\n"
	    "	.word 663f - .\n"
	    "	.hword %c1\n"
	    "	.byte 662b - 661b\n"
	    "	.byte 664f - 663f\n"
	    "	.popsection\n"
	    "	.subsection 1\n"
	    "663:	mrs %0, tpidr_el2\n"
	    "664:\n"
	    "	.previous\n"
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
