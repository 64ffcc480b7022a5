/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Rings that any context counts, for one thread that answers each of them. Only the ring that finds
 * none waiting wakes the thread, so producers share a counter and no lock.
 */
#pragma once

#include "api/completion.h"
#include "api/irq_work.h"
#include "api/preempt.h"
#include "atomic.h"
#include "container_of.h"
#include "opaque.h"

namespace zem {

class Doorbell {
public:
	constexpr Doorbell() = default;
	Doorbell(const Doorbell &) = delete;
	Doorbell &operator=(const Doorbell &) = delete;

	/* Before the first ring. */
	void init()
	{
		rings_ = 0;
		batch_ = 0;
		left_ = 0;
		helper_init_completion(&first_);
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
		u32 rings = read_once(rings_);
		if (rings == 0 || !try_cmpxchg_release(rings_, rings, rings + 1))
			ring_and_wake();
	}

	/*
	 * Waits for a ring that has not been answered; signals to the task do not end the wait. The
	 * rings of a batch are taken back together, when all of them are answered, so that those
	 * that come meanwhile wake nobody.
	 * Context: the thread; may sleep.
	 */
	void wait()
	{
		if (!left_) {
			if (!batch_ || fetch_sub_acquire(batch_, rings_) == batch_)
				helper_wait_for_completion_idle(&first_);
			batch_ = left_ = smp_load_acquire(rings_);
		}
		left_--;
	}

private:
	/*
	 * A caller that was preempted between its ring and the wake-up would keep the thread
	 * asleep, whichever CPUs ring then. The other rings of a batch need no such care.
	 */
	[[gnu::noinline]] void ring_and_wake()
	{
		helper_preempt_disable();
		if (fetch_add_release(1, rings_) == 0)
			wake();
		helper_preempt_enable();
	}

	void wake()
	{
		if (helper_may_complete())
			complete(&first_);
		else
			irq_work_queue(&wake_);
	}

	static void wake_from_interrupt(irq_work *work)
	{
		complete(&container_of(work, Doorbell, wake_)->first_);
	}

	/*
	 * Not taken back yet. Every producer writes this line, so it holds neither what producers
	 * only read nor what the thread writes for each ring that it answers.
	 */
	alignas(64) u32 rings_ = 0;

	/* For the thread. */
	alignas(64) u32 batch_ = 0; /* rings that it will take back; 0 before the first */
	u32 left_ = 0; /* those of the batch that it has not answered */

	completion first_{}; /* one signal for each ring that found none waiting */
	irq_work wake_{};
};

} /* namespace zem */
