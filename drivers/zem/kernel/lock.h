/* SPDX-License-Identifier: GPL-2.0 */
/* Locks, and a guard for them. Call init() before the first use. */
#pragma once

#include "api/mutex.h"
#include "api/spinlock.h"
#include "opaque.h"

namespace zem {

/* A sleeping lock. Context: process. */
class Mutex {
public:
	constexpr Mutex() = default;
	Mutex(const Mutex &) = delete;
	Mutex &operator=(const Mutex &) = delete;

	void init(const char *name) { helper_mutex_init(&lock_, name, &key_); }

	void lock() { helper_mutex_lock(&lock_); }

	void unlock() { helper_mutex_unlock(&lock_); }

private:
	mutex lock_{};
	lock_class_key key_{};
};

/* A spinlock that is never taken in an interrupt. Context: process. */
class SpinLock {
public:
	constexpr SpinLock() = default;
	SpinLock(const SpinLock &) = delete;
	SpinLock &operator=(const SpinLock &) = delete;

	void init(const char *name) { helper_spin_lock_init(&lock_, name, &key_); }

	void lock() { helper_spin_lock(&lock_); }

	void unlock() { helper_spin_unlock(&lock_); }

private:
	spinlock lock_{};
	lock_class_key key_{};
};

/* A spinlock that any context can take, with interrupts off. Context: any. */
class RawSpinLock {
public:
	constexpr RawSpinLock() = default;
	RawSpinLock(const RawSpinLock &) = delete;
	RawSpinLock &operator=(const RawSpinLock &) = delete;

	/* @key: one for all locks of the same class. */
	void init(const char *name, lock_class_key &key)
	{
		helper_raw_spin_lock_init(&lock_, name, &key);
	}

	[[nodiscard]] unsigned long lock_irqsave() { return helper_raw_spin_lock_irqsave(&lock_); }

	void unlock_irqrestore(unsigned long flags)
	{
		helper_raw_spin_unlock_irqrestore(&lock_, flags);
	}

private:
	raw_spinlock lock_{};
};

/* Holds a lock until the end of its scope. */
template <typename Lock>
class [[nodiscard]] LockGuard {
public:
	explicit LockGuard(Lock &lock) : lock_(lock) { lock_.lock(); }

	~LockGuard() { lock_.unlock(); }

	LockGuard(const LockGuard &) = delete;
	LockGuard &operator=(const LockGuard &) = delete;

private:
	Lock &lock_;
};

/* Holds a lock with interrupts off until the end of its scope. */
template <>
class [[nodiscard]] LockGuard<RawSpinLock> {
public:
	explicit LockGuard(RawSpinLock &lock) : lock_(lock), flags_(lock.lock_irqsave()) {}

	~LockGuard() { lock_.unlock_irqrestore(flags_); }

	LockGuard(const LockGuard &) = delete;
	LockGuard &operator=(const LockGuard &) = delete;

private:
	RawSpinLock &lock_;
	const unsigned long flags_;
};

} /* namespace zem */
