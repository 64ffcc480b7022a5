/* SPDX-License-Identifier: GPL-2.0 */
/* The counters of one UID. Locking: the bucket's lock. */
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
inline constexpr size_t kReadCallsColumn = 9;
static_assert(sizeof(zem_io_columns) == kReadCallsColumn * sizeof(u64));

enum UidColumn : size_t {
	kFrb,
	kFwb,
	kBrb,
	kBwb,
	kIowaitColumn = 6,
};

struct UidEntry {
	UidEntry *next;
	u32 uid;
	u32 state; /* UidState */
	IoStats io[2]; /* by state */
	IoStats last; /* sums of the tasks at the last charge */
	u64 bio_count[2]; /* by state */
	u64 iowait; /* ns */
	u64 read_chars; /* bytes */
	u64 sync_write_chars; /* bytes */
	u64 async_write_chars; /* bytes */
	u64 read_calls;

	/* uid_charge.cc: sums and number of the last walk, and the latest walk at the creation. */
	IoStats walked;
	u32 walk;
	u32 born;

	/* uid_top.cc: the columns at the previous collection, if there was one. */
	bool was_listed;
	u64 previous[kUidColumns];
};

} /* namespace zem */
