// SPDX-License-Identifier: GPL-2.0
/*
 * The UIDs with the most IO and with the most IO wait since the lists were last built. A new UID
 * takes part from the next time on.
 */
#include "io/uid_top.h"

#include "io/top_list.h"
#include "io/uid_charge.h"
#include "io/uid_table.h"
#include "kernel/atomic.h"

namespace zem {

namespace {

using Columns = u64[kUidColumns];

struct IoCandidate {
	u64 key; /* bytes to and from devices since the last time */
	u32 uid;
	Columns value;
	Columns delta;
};

struct IowaitCandidate {
	u64 key; /* ns since the last time */
	u32 uid;
	u64 iowait;
};

struct Lists {
	TopList<IoCandidate, ZEM_IO_TOP> io;
	TopList<IowaitCandidate, ZEM_IO_TOP> iowait;
};

/* Too large for a stack. Locking: uid_io_lock. */
constinit Lists lists{};

/* Each count is read once, so that none is in two increases. */
UidCounts total_of(const UidEntry &entry)
{
	UidCounts sum{};
	for (const UidCounts &counts : entry.counts) {
		sum.bio_count[kForeground] += read_once(counts.bio_count[kForeground]);
		sum.bio_count[kBackground] += read_once(counts.bio_count[kBackground]);
		sum.iowait += read_once(counts.iowait);
		sum.sync_write_chars += read_once(counts.sync_write_chars);
		sum.async_write_chars += read_once(counts.async_write_chars);
		sum.read_calls += read_once(counts.read_calls);
	}
	return sum;
}

/* Most UIDs have no place in a list, and cost two subtractions of what they add up to. */
void offer(const UidEntry &entry, const Columns &value)
{
	const auto increase = [&](size_t column) {
		return value[column] - entry.previous[column];
	};

	const u64 bytes = increase(kFrb) + increase(kFwb) + increase(kBrb) + increase(kBwb);
	if (IoCandidate *candidate = lists.io.place_for(bytes)) {
		candidate->uid = entry.uid;
		__builtin_memcpy(candidate->value, value, sizeof(value));
		for (size_t column = 0; column < kUidColumns; column++)
			candidate->delta[column] = increase(column);
	}
	if (IowaitCandidate *candidate = lists.iowait.place_for(increase(kIowait))) {
		candidate->uid = entry.uid;
		candidate->iowait = value[kIowait];
	}
}

/* Locking: caller holds uid_io_lock. */
void visit(UidEntry &entry, u32 walk)
{
	if (!charge_walked(entry, walk))
		return;
	const UidCounts counts = total_of(entry);
	const Columns value = {
		entry.io[kForeground].read_bytes,
		entry.io[kForeground].write_bytes,
		entry.io[kBackground].read_bytes,
		entry.io[kBackground].write_bytes,
		counts.bio_count[kForeground],
		counts.bio_count[kBackground],
		counts.iowait,
		counts.sync_write_chars,
		counts.async_write_chars,
		counts.read_calls,
	};
	if (entry.was_listed)
		offer(entry, value);
	entry.was_listed = true;
	__builtin_memcpy(entry.previous, value, sizeof(value));
}

/* Unused entries keep their content. */
void write(zem_kio &kioind)
{
	zem_io_top *io = kioind.io_top;
	for (const IoCandidate &candidate : lists.io) {
		io->uid = candidate.uid;
		__builtin_memcpy(&io->value, candidate.value, sizeof(io->value));
		io->read_calls = candidate.value[kReadCalls];
		__builtin_memcpy(&io->delta, candidate.delta, sizeof(io->delta));
		io->delta_total = candidate.key;
		io++;
	}
	zem_iowait_top *iowait = kioind.iowait_top;
	for (const IowaitCandidate &candidate : lists.iowait)
		*iowait++ = {
			.uid = candidate.uid,
			.reserved = 0,
			.iowait = candidate.iowait,
			.delta_iowait = candidate.key,
		};
}

} /* namespace */

void kio_uid_io(zem_kio &kioind)
{
	LockGuard guard(uid_io_lock);
	lists.io.clear();
	lists.iowait.clear();
	const u32 walk = walk_all_uids();
	/* No entry is unlinked meanwhile. */
	for (const UidBucket &bucket : io_hash_table)
		for (UidEntry *entry = rcu_dereference(bucket.first); entry;
		     entry = rcu_dereference(entry->next))
			visit(*entry, walk);
	lists.io.sort();
	lists.iowait.sort();
	write(kioind);
}

} /* namespace zem */
