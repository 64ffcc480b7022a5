// SPDX-License-Identifier: GPL-2.0
/*
 * The UIDs with the most IO and with the most IO wait since the lists were last built. A new UID
 * takes part from the next time on.
 */
#include "io/top_list.h"
#include "io/uid_charge.h"
#include "io/uid_io.h"
#include "io/uid_table.h"

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

void read_columns(const UidEntry &entry, Columns &value)
{
	const Columns now = {
		entry.io[kForeground].read_bytes,
		entry.io[kForeground].write_bytes,
		entry.io[kBackground].read_bytes,
		entry.io[kBackground].write_bytes,
		entry.bio_count[kForeground],
		entry.bio_count[kBackground],
		entry.iowait,
		entry.sync_write_chars,
		entry.async_write_chars,
		entry.read_calls,
	};
	__builtin_memcpy(value, now, sizeof(value));
}

void offer(const UidEntry &entry, const Columns &value)
{
	IoCandidate candidate{.key = 0, .uid = entry.uid, .value = {}, .delta = {}};
	__builtin_memcpy(candidate.value, value, sizeof(value));
	for (size_t k = 0; k < kUidColumns; k++)
		candidate.delta[k] = value[k] - entry.previous[k];
	candidate.key = candidate.delta[kFrb] + candidate.delta[kFwb] + candidate.delta[kBrb] +
			candidate.delta[kBwb];
	lists.io.offer(candidate);
	lists.iowait.offer({
		.key = candidate.delta[kIowaitColumn],
		.uid = entry.uid,
		.iowait = value[kIowaitColumn],
	});
}

/* Locking: caller holds the bucket's lock. */
void visit(UidEntry &entry)
{
	if (!charge_walked(entry))
		return;
	Columns value;
	read_columns(entry, value);
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
		io->read_calls = candidate.value[kReadCallsColumn];
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
	walk_all_uids();
	for (UidBucket &bucket : io_hash_table) {
		IrqSaveGuard bucket_guard(bucket.lock);
		for (UidEntry *entry = bucket.first; entry; entry = entry->next)
			visit(*entry);
	}
	lists.io.sort();
	lists.iowait.sort();
	write(kioind);
}

} /* namespace zem */
