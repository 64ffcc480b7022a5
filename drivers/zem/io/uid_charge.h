/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Charges the bytes that a UID's tasks have read and written since the last charge to the UID's
 * present state. Context: process.
 */
#pragma once

#include "io/uid_entry.h"
#include "kernel/lock.h"

namespace zem {

/*
 * Held from a walk to the end of its charges, because an older walk must not be charged after a
 * newer one. Also held to forget UIDs. May sleep; taken before the lock of any bucket.
 */
extern Mutex uid_io_lock;

/* Return: the sums of all tasks of a UID, by a walk. Locking: caller holds uid_io_lock to charge.
 */
[[nodiscard]] IoStats io_of_uid(u32 uid);

/* Charges an entry up to @now. Locking: caller holds uid_io_lock. */
void update_io_stats_uid_entry(UidEntry &entry, const IoStats &now);

/*
 * Walks over all tasks once, and stores the sums of each known UID in its entry.
 * Return: the number of the walk. Locking: caller holds uid_io_lock.
 */
[[nodiscard]] u32 walk_all_uids();

/*
 * Charges an entry with the sums of the latest walk. Locking: caller holds uid_io_lock.
 * Return: false if the entry was created after the walk began; the next collection charges it.
 */
[[nodiscard]] bool charge_walked(UidEntry &entry, u32 walk);

} /* namespace zem */
