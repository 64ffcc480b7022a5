/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What is kept of each UID, in a hash table with a lock for each chain. Entries come with a UID's
 * first bio or its first state, and stay until user space forgets the UID. Any process can make
 * UIDs known, so their number is bounded.
 */
#pragma once

#include "io/uid_entry.h"
#include "kernel/api/slab.h"
#include "kernel/lock.h"

namespace zem {

inline constexpr size_t kUidBuckets = 1024;

/* The most entries; a further UID is refused as if there was no memory for it, and counted. */
inline constexpr u32 kMostUids = 16384;

struct UidBucket {
	RawSpinLock lock;
	UidEntry *first;
};

extern UidBucket io_hash_table[kUidBuckets];

[[nodiscard]] constexpr u32 uid_bucket(u32 uid)
{
	return uid * 0x61c88647u >> 22;
}

/* Before anything else of this file. */
void uid_table_init();
/* Frees all entries; from here on none is made. Process context. */
void uid_table_exit();

/* Under the bucket's lock. Return: null when the UID has no entry. */
[[nodiscard]] inline UidEntry *find_uid(const UidBucket &bucket, u32 uid)
{
	UidEntry *entry = bucket.first;
	while (entry && entry->uid != uid)
		entry = entry->next;
	return entry;
}

/*
 * The entry of a UID, with its bucket locked. Any context. Inline, and nothing in it has an
 * address: every read, write and bio comes through here.
 */
class [[nodiscard]] LockedUid {
public:
	explicit LockedUid(u32 uid) : LockedUid(io_hash_table[uid_bucket(uid)], uid) {}

	/*
	 * Makes the entry of a UID that has none. Not under a run-queue lock: memory is taken
	 * outside of the bucket's, without sleeping.
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

	/* Return: null when there is no entry. */
	[[nodiscard]] UidEntry *get() const { return entry_; }

	/* Whether the entry is one that make() has made. */
	[[nodiscard]] bool is_new() const { return is_new_; }

private:
	LockedUid(UidBucket &bucket, u32 uid)
		: bucket_(bucket), flags_(bucket.lock.lock_irqsave()), entry_(find_uid(bucket, uid))
	{
	}

	LockedUid(UidBucket &bucket, u32 uid, UidEntry *fresh);

	UidBucket &bucket_;
	const unsigned long flags_;
	UidEntry *entry_;
	UidEntry *spare_ = nullptr; /* taken in vain */
	bool is_new_ = false;
};

/* Forgets all UIDs from @first to @last. Process context; the lists are not being built. */
void forget_uids(s64 first, s64 last);

} /* namespace zem */
