/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The known UIDs, in a hash table with a lock for each chain. An entry is created for a UID's first
 * bio or first state, and is kept until user space forgets the UID. Any process can make UIDs
 * known, so their number is bounded. Look-ups take no lock.
 */
#pragma once

#include "io/uid_entry.h"
#include "kernel/api/slab.h"
#include "kernel/atomic.h"
#include "kernel/cpu_sets.h"
#include "kernel/lock.h"

namespace zem {

inline constexpr size_t kUidBuckets = 1024;

/* Bound on entries. A further UID is refused like a failed allocation, and counted. */
inline constexpr u32 kMostUids = 16384;

struct UidBucket {
	UidEntry *first;
	RawSpinLock lock;
};

extern UidBucket io_hash_table[kUidBuckets];

[[nodiscard]] constexpr u32 uid_bucket(u32 uid)
{
	return uid * 0x61c88647u >> 22;
}

/* Call before any other function of this file. */
void uid_table_init();
/* Frees all entries, and allows no new ones. Context: process. */
void uid_table_exit();

/*
 * Collections number their walks over all tasks. A new entry has the number of the latest walk,
 * which may have missed it. Locking for begin_walk(): caller holds uid_io_lock.
 */
[[nodiscard]] u32 begin_walk();

/*
 * Return: null if the UID has no entry. Context: any.
 * Locking: caller holds rcu_read_lock(), as every hook does, or a lock that keeps entries linked:
 * the bucket's or uid_io_lock.
 */
[[nodiscard]] inline UidEntry *find_uid(u32 uid)
{
	UidEntry *entry = rcu_dereference(io_hash_table[uid_bucket(uid)].first);
	while (entry && entry->uid != uid)
		entry = rcu_dereference(entry->next);
	return entry;
}

/* Return: where to count with atomic_add(). */
[[nodiscard]] inline UidCounts &counts_of(UidEntry &entry)
{
	return set_of_this_cpu(entry.counts);
}

/* The entry of a UID, with its bucket locked. Context: any. */
class [[nodiscard]] LockedUid {
public:
	/*
	 * Creates the entry if the UID has none. Allocates without sleeping, before the bucket is
	 * locked. Context: any, without a run-queue lock.
	 */
	static LockedUid make(u32 uid);

	~LockedUid()
	{
		bucket_.lock.unlock_irqrestore(flags_);
		if (spare_)
			kfree(spare_);
	}

	LockedUid(const LockedUid &) = delete;
	LockedUid &operator=(const LockedUid &) = delete;

	/* Return: null if there is no entry. */
	[[nodiscard]] UidEntry *get() const { return entry_; }

	/* Return: whether make() created the entry. */
	[[nodiscard]] bool is_new() const { return is_new_; }

private:
	LockedUid(UidBucket &bucket, u32 uid, UidEntry *fresh);

	UidBucket &bucket_;
	const unsigned long flags_;
	UidEntry *entry_;
	UidEntry *spare_ = nullptr; /* unused allocation of make() */
	bool is_new_ = false;
};

/*
 * Unlinks the entries of all UIDs from @first to @last. Return: their list, for free_unlinked().
 * Locking: caller holds uid_io_lock, or nothing builds the lists any more.
 */
[[nodiscard]] UidEntry *unlink_uids(s64 first, s64 last);

/* Frees them once no look-up can have found one. Context: may sleep. */
void free_unlinked(UidEntry *entries);

/* Both. Context: may sleep. Locking: as unlink_uids(). */
void forget_uids(s64 first, s64 last);

} /* namespace zem */
