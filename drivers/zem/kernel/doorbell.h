/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Rings that any context counts, for one thread that answers each of them. Each CPU counts its own,
 * and only a ring that finds the thread asleep wakes it, so producers share no lock and write to no
 * common cache line while the thread is awake.
 */
#pragma once

#include "api/completion.h"
#include "api/irq_work.h"
#include "api/preempt.h"
#include "atomic.h"
#include "container_of.h"
#include "cpu_sets.h"
#include "opaque.h"

namespace zem {

class Doorbell {
public:
	constexpr Doorbell() = default;
	Doorbell(const Doorbell &) = delete;
	Doorbell &operator=(const Doorbell &) = delete;

	/* Once, before the first ring. */
	void init()
	{
		helper_init_completion(&awake_);
		helper_irq_work_init(&wake_, wake_from_interrupt);
	}

	/* Waits for the interrupt that woke the thread last. After the last ring; may sleep. */
	void silence() { irq_work_sync(&wake_); }

	/*
	 * The thread sees all that the caller has written before.
	 * Context: any, including NMI and under a run-queue lock.
	 */
	void ring()
	{
		add_seq_cst(1, set_of_this_cpu(rings_).count);
		if (load_seq_cst(asleep_)) [[unlikely]]
			wake_once();
	}

	/*
	 * Waits for a ring that has not been answered; signals to the task do not end the wait.
	 * Nobody wakes the thread while there are some. Context: the thread; may sleep.
	 */
	void wait()
	{
		while (!left_ && !(left_ = take())) {
			/* Either this sees a ring, or the ring sees the thread asleep, or both. */
			store_seq_cst(asleep_, u32{1});
			left_ = take();
			if (!left_ || !xchg(asleep_, 0))
				helper_wait_for_completion_idle(&awake_);
		}
		left_--;
	}

private:
	static constexpr u32 kSets = 8;

	/* The rings of a CPU since load. */
	struct alignas(64) Rings {
		u32 count = 0;
	};

	/* Return: the number of rings since the last call. */
	[[nodiscard]] u32 take()
	{
		u32 sum = 0;
		for (u32 set = 0; set < kSets; set++) {
			const u32 rings = load_seq_cst(rings_[set].count);
			sum += rings - seen_[set];
			seen_[set] = rings;
		}
		return sum;
	}

	/*
	 * A caller that was preempted before it wakes the thread would keep it asleep, whichever
	 * CPUs ring then.
	 */
	[[gnu::noinline]] void wake_once()
	{
		helper_preempt_disable();
		if (xchg(asleep_, 0))
			wake();
		helper_preempt_enable();
	}

	void wake()
	{
		if (helper_may_complete())
			complete(&awake_);
		else
			irq_work_queue(&wake_);
	}

	static void wake_from_interrupt(irq_work *work)
	{
		complete(&container_of(work, Doorbell, wake_)->awake_);
	}

	Rings rings_[kSets]{};
	/* Whether the next ring wakes the thread. Producers read its cache line. */
	alignas(64) u32 asleep_ = 1;

	/* For the thread. */
	alignas(64) u32 seen_[kSets]{}; /* rings that it has taken */
	u32 left_ = 0; /* those that it has taken and not answered */

	completion awake_{}; /* one signal for each ring that found the thread asleep */
	irq_work wake_{};
};

} /* namespace zem */
