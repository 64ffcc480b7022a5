/* SPDX-License-Identifier: GPL-2.0 */
/* The IO snapshot: gathered for each upload, shown in /sys/kioind. Process context; may sleep. */
#pragma once

#include "kernel/lock.h"
#include "uapi/linux/zem.h"

struct kobject;

namespace zem {

/* Guards the snapshot, the tracked devices and whoever brings them up to date. */
extern Mutex kioind_lock;

/* Never cleared as a whole but by the upload. */
extern zem_kio kioind;

/* Return: 0, or -1 when /sys/kioind can't be made; the hooks are attached either way, for good. */
[[nodiscard]] int kioind_init();
/*
 * Withdraws /sys/kioind and forgets all UIDs, also after a start-up that failed. The hooks and the
 * files below /proc stay.
 */
void kioind_destroy();

/* Looks for the tracked devices that were not found yet. */
void kioind_save_dev();

/* Gathers, and hands the snapshot to @push unless the IO indicators are off; then clears it. */
void kioind_upload(void (*push)(const zem_kio &snapshot));

/* Gathers alone. */
void kioind_prime();

/* The per-UID lists, unless the IO indicators are off. Under kioind_lock. */
void refresh_uid_lists();
/* The disks' statistics, likewise. */
void refresh_diskstats();

/* kioind_views.cc. Return: 0 or a negative error code. */
[[nodiscard]] int kioind_views_create(kobject *directory);
void kioind_views_remove(kobject *directory);

} /* namespace zem */
