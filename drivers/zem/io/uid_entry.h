/* SPDX-License-Identifier: GPL-2.0 */
/* What is kept of one UID. Under the lock of its bucket. */
#pragma once

#include "kernel/api/types.h"
#include "linux/zem.h"

namespace zem {

inline constexpr u32 kRootUid = 0;

/* As user space writes it, and as the first index of what is counted by it. */
enum UidState : u32 {
	kForeground,
	kBackground,
};

/* What the tasks of a UID have done. Bytes, but for the last: system calls. */
struct IoStats {
	u64 read_bytes;
	u64 write_bytes;
	u64 rchar;
	u64 wchar;
	u64 fsync;
};

/* The columns of the top lists: those that are told with their increase, and one without. */
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
	IoStats last; /* what the tasks had done when it was charged last */
	u64 bio_count[2]; /* by state */
	u64 iowait; /* ns */
	u64 read_chars; /* bytes */
	u64 sync_write_chars; /* bytes */
	u64 async_write_chars; /* bytes */
	u64 read_calls;

	/* uid_charge.cc: what the walk of one collection has found, and when the entry was made. */
	IoStats walked;
	u32 walk;
	u32 born;

	/* uid_top.cc: the columns at the collection before, once there was one. */
	bool was_listed;
	u64 previous[kUidColumns];
};

} /* namespace zem */
