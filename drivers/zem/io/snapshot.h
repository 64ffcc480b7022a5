/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The IO snapshot: gathered for each upload, shown in /sys/kioind. Context: process; may sleep.
 */
#pragma once

#include "io/devices.h"
#include "kernel/function_ref.h"
#include "uapi/linux/zem.h"

namespace zem {

struct IoSnapshot {
	zem_kio kioind; /* only an upload clears it as a whole */
	TrackedDevices devices;
};

/* Call before any other function of this file. */
void io_snapshot_init();

/* Calls @use with the snapshot locked. */
void with_io_snapshot(FunctionRef<void(IoSnapshot &io)> use);

/* Update the disks' statistics and the per-UID lists, unless the IO indicators are off. */
void refresh_diskstats(IoSnapshot &io);
void refresh_uid_lists(IoSnapshot &io);

/* Looks up the tracked devices that were not found yet. */
void kioind_save_dev();

/* Gathers, passes the snapshot to @emit and clears it, unless the IO indicators are off. */
void kioind_upload(FunctionRef<void(const zem_kio &snapshot)> emit);

/* Gathers without an upload. */
void kioind_prime();

} /* namespace zem */
