/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Charging: what a UID's tasks have read and written since they were looked at goes to the state
 * that the UID has. Process context.
 */
#pragma once

#include "io/uid_entry.h"
#include "kernel/lock.h"

namespace zem {

/*
 * Whoever walks in order to charge holds it to the end, or an older walk would undo what a newer
 * one has charged; so does whoever forgets UIDs. May sleep; taken before any bucket's lock.
 */
extern Mutex uid_io_lock;

/* Return: the number of the walk that was begun last, for a new entry. */
[[nodiscard]] u32 current_walk();

/* What all tasks of one UID have done: a walk over all tasks. Under uid_io_lock, to charge. */
[[nodiscard]] IoStats io_of_uid(u32 uid);

/* Charges an entry with what its tasks have done by now. Under both locks. */
void update_io_stats_uid_entry(UidEntry &entry, const IoStats &now);

/* For a collection: one walk over all tasks finds what each UID of the table has done. */
void walk_all_uids();

/*
 * Charges an entry with what the walk has found. Under both locks.
 * Return: false of one that was made after the walk had begun: its turn is the next collection.
 */
[[nodiscard]] bool charge_walked(UidEntry &entry);

} /* namespace zem */
