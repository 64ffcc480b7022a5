/* SPDX-License-Identifier: GPL-2.0 */
/* The IO snapshot: gathered for each upload, shown in /sys/kioind. Context: process; may sleep. */
#pragma once

#include "kernel/function_ref.h"
#include "kernel/lock.h"
#include "uapi/linux/zem.h"

struct kobject;

namespace zem {

/* Guards the snapshot, the tracked devices and their updates. */
extern Mutex kioind_lock;

/* Only the upload clears it as a whole. */
extern zem_kio kioind;

/* Return: 0, or -1 if /sys/kioind cannot be created. The hooks stay attached in either case. */
[[nodiscard]] int kioind_init();
/*
 * Removes /sys/kioind and forgets all UIDs; also for a failed start-up. The hooks and the files
 * below /proc stay.
 */
void kioind_destroy();

/* Looks up the tracked devices that were not found yet. */
void kioind_save_dev();

/* Gathers, passes the snapshot to @emit and clears it, unless the IO indicators are off. */
void kioind_upload(FunctionRef<void(const zem_kio &snapshot)> emit);

/* Gathers without an upload. */
void kioind_prime();

/* Updates the per-UID lists unless the IO indicators are off. Locking: caller holds kioind_lock. */
void refresh_uid_lists();
/* Updates the disks' statistics unless the IO indicators are off. Locking: caller holds
 * kioind_lock. */
void refresh_diskstats();

/* kioind_views.cc. Return: 0 or a negative error code. */
[[nodiscard]] int kioind_views_create(kobject *directory);
void kioind_views_remove(kobject *directory);

} /* namespace zem */
