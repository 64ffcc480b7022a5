/* SPDX-License-Identifier: GPL-2.0 */
/* A ticket lock of the size of the kernel's, for C++ and C. */
#pragma once

#include <sched.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ticket_lock {
	unsigned short owner;
	unsigned short next;
};

/* The holder of a lock that is not released for this many rounds has lost its CPU. */
#define TICKET_LOCK_PATIENCE 2000

static inline void cpu_relax(void)
{
#if defined(__x86_64__)
	__builtin_ia32_pause();
#elif defined(__aarch64__)
	__asm__ volatile("yield" ::: "memory");
#endif
}

static inline void ticket_lock_acquire(struct ticket_lock *lock)
{
	const unsigned short ticket = __atomic_fetch_add(&lock->next, 1, __ATOMIC_RELAXED);
	int rounds = 0;

	while (__atomic_load_n(&lock->owner, __ATOMIC_ACQUIRE) != ticket) {
		cpu_relax();
		if (++rounds % TICKET_LOCK_PATIENCE == 0)
			sched_yield();
	}
}

static inline void ticket_lock_release(struct ticket_lock *lock)
{
	__atomic_store_n(&lock->owner, (unsigned short)(lock->owner + 1), __ATOMIC_RELEASE);
}

#ifdef __cplusplus
}
#endif
