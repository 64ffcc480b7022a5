/* SPDX-License-Identifier: GPL-2.0 */
/* The counters of one UID. */
#pragma once

#include "kernel/api/types.h"
#include "linux/zem.h"

namespace zem {

inline constexpr u32 kRootUid = 0;

/* The numbers that user space writes, also used as index. */
enum UidState : u32 {
	kForeground,
	kBackground,
};

/* Bytes that the tasks of a UID have read from and written to devices. */
struct IoStats {
	u64 read_bytes;
	u64 write_bytes;
};

/* The columns of the top lists: those with an increase, and read_calls without. */
inline constexpr size_t kUidColumns = ZEM_IO_COLUMNS;

enum UidColumn : size_t {
	kFrb,
	kFwb,
	kBrb,
	kBwb,
	kFbc,
	kBbc,
	kIowait,
	kSwc,
	kAwc,
	kReadCalls,
};
static_assert(sizeof(zem_io_columns) == kReadCalls * sizeof(u64));
static_assert(kReadCalls + 1 == kUidColumns);

/* What the hooks count. CPUs share a set with few others, and add without an order. */
struct alignas(64) UidCounts {
	u64 bio_count[2]; /* by state */
	u64 iowait; /* ns */
	u64 sync_write_chars; /* bytes */
	u64 async_write_chars; /* bytes */
	u64 read_calls;
};

inline constexpr u32 kUidCountSets = 4;

/*
 * Found under rcu_read_lock(). The bucket's lock is held to link an entry, and to change its state,
 * which others read at any time. uid_io_lock is held for what a collection uses, and to unlink.
 */
struct alignas(128) UidEntry {
	UidEntry *next;
	u32 uid;
	u32 state; /* UidState */

	/* uid_charge.cc: sums and number of the last walk, and the latest walk at the creation. */
	IoStats io[2]; /* by state */
	IoStats last; /* sums of the tasks at the last charge */
	IoStats walked;
	u32 walk;
	u32 born;

	/* uid_top.cc: the columns at the previous collection, if there was one. */
	bool was_listed;
	u64 previous[kUidColumns];

	UidEntry *next_unlinked;

	UidCounts counts[kUidCountSets];
};

/* A power of two, which kzalloc() aligns. */
static_assert(sizeof(UidEntry) == 512);

} /* namespace zem */
