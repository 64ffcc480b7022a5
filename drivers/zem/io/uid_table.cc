// SPDX-License-Identifier: GPL-2.0
/* The table of UIDs and its bound. */
#include "io/uid_table.h"

#include "core/common/counters.h"
#include "kernel/api/rcu.h"
#include "kernel/bounded_count.h"
#include "kernel/relaxed.h"

namespace zem {

constinit UidBucket io_hash_table[kUidBuckets]{};

namespace {

constinit lock_class_key bucket_class{};

/* Whether entries may be created. Checked under the bucket's lock. */
constinit Relaxed<bool> is_open{false};

/* Number of the latest walk. */
constinit Relaxed<u32> walk{0};

/* Counts the entries in the table. */
constinit BoundedCount<kMostUids> entries;

/* Return: false if the table is full. */
[[nodiscard]] bool take_place()
{
	if (entries.take())
		return true;
	count(Counter::kUidsRefused);
	return false;
}

/* Locking: caller holds the bucket's lock. Root is in the foreground only if user space says so. */
void link(UidBucket &bucket, UidEntry &entry, u32 uid)
{
	entry.uid = uid;
	entry.state = uid == kRootUid ? kBackground : kForeground;
	entry.born = walk.load();
	entry.next = bucket.first;
	smp_store_release(bucket.first, &entry);
}

/* Adds the entries to a list. A look-up that stands at one of them still finds the rest. */
void unlink_range(UidBucket &bucket, s64 first, s64 last, UidEntry *&unlinked)
{
	LockGuard guard(bucket.lock);
	for (UidEntry **place = &bucket.first; UidEntry *entry = *place;) {
		if (entry->uid < first || entry->uid > last) {
			place = &entry->next;
			continue;
		}
		write_once(*place, entry->next);
		entry->next_unlinked = unlinked;
		unlinked = entry;
		entries.put();
	}
}

} /* namespace */

u32 begin_walk()
{
	const u32 number = walk.load() + 1;
	walk.store(number);
	return number;
}

void uid_table_init()
{
	for (UidBucket &bucket : io_hash_table) {
		bucket.lock.init("zem_io_uid", bucket_class);
		bucket.first = nullptr;
	}
	is_open.store(true);
}

void uid_table_exit()
{
	is_open.store(false);
	forget_uids(0, ~u32{0});
}

LockedUid::LockedUid(UidBucket &bucket, u32 uid, UidEntry *fresh)
	: bucket_(bucket), flags_(bucket.lock.lock_irqsave()), entry_(find_uid(uid))
{
	if (entry_ || !fresh || !is_open.load() || !take_place()) {
		spare_ = fresh;
		return;
	}
	link(bucket, *fresh, uid);
	entry_ = fresh;
	is_new_ = true;
}

/* Allocates before it locks the bucket, even if the UID has an entry by then. */
LockedUid LockedUid::make(u32 uid)
{
	void *fresh = helper_kzalloc_atomic(sizeof(UidEntry));
	return {io_hash_table[uid_bucket(uid)], uid, static_cast<UidEntry *>(fresh)};
}

UidEntry *unlink_uids(s64 first, s64 last)
{
	UidEntry *unlinked = nullptr;
	for (UidBucket &bucket : io_hash_table)
		unlink_range(bucket, first, last, unlinked);
	return unlinked;
}

void free_unlinked(UidEntry *entries)
{
	if (!entries)
		return;
	synchronize_rcu();
	while (entries) {
		UidEntry *next = entries->next_unlinked;
		kfree(entries);
		entries = next;
	}
}

void forget_uids(s64 first, s64 last)
{
	free_unlinked(unlink_uids(first, last));
}

} /* namespace zem */
