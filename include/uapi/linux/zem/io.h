/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/* Payload of the kio channel. */
#ifndef _UAPI_LINUX_ZEM_IO_H
#define _UAPI_LINUX_ZEM_IO_H

#include <linux/types.h>

#include "assert.h"

#define ZEM_IO_DEVICES 4
#define ZEM_IO_TOP 10
#define ZEM_IO_BUCKETS 7
#define ZEM_IO_COLUMNS 10
#define ZEM_IO_TAIL 680

/**
 * struct zem_io_disk - statistics of a device since boot, in the columns of /proc/diskstats
 * @rd_ios: reads completed
 * @rd_merges: reads merged
 * @rd_sectors: sectors read, 512 bytes each
 * @rd_ticks: ms spent reading, modulo 2^32
 * @wr_ios: writes completed
 * @wr_merges: writes merged
 * @wr_sectors: sectors written, 512 bytes each
 * @wr_ticks: ms spent writing, modulo 2^32
 * @in_flight: always 0
 * @io_ticks: ms with IO in flight
 * @time_in_queue: always 0
 */
struct zem_io_disk {
	__u64 rd_ios;
	__u64 rd_merges;
	__u64 rd_sectors;
	__u64 rd_ticks;
	__u64 wr_ios;
	__u64 wr_merges;
	__u64 wr_sectors;
	__u64 wr_ticks;
	__u64 in_flight;
	__u64 io_ticks;
	__u64 time_in_queue;
};

/**
 * struct zem_io_latency - bios of one direction and class, by time from issue to completion
 *
 * The time of a bio is divided by its size in 4 KiB pages. Nominal bounds of the buckets, in ms: 1,
 * 16, 67, 134, 268, 536. Times from 67 to 134 ms are in no bucket, and times from 537 to 1074 ms
 * are in the last two buckets.
 *
 * @buckets: bios since the previous record
 * @reserved: always 0
 * @total_time: sum over the bios of all devices in the last interval, in units of 100 us per 4 KiB
 */
struct zem_io_latency {
	__u32 buckets[ZEM_IO_BUCKETS];
	__u32 reserved;
	__u64 total_time;
};

/**
 * struct zem_io_device - one tracked device
 * @disk: its statistics
 * @read_fg: reads for apps in the foreground
 * @read_bg: other reads
 * @write_fg: writes for apps in the foreground
 * @write_bg: other writes
 */
struct zem_io_device {
	struct zem_io_disk disk;
	struct zem_io_latency read_fg;
	struct zem_io_latency read_bg;
	struct zem_io_latency write_fg;
	struct zem_io_latency write_bg;
};

/**
 * struct zem_io_columns - counters of a UID
 * @frb: bytes read from devices while in the foreground
 * @fwb: bytes written to devices while in the foreground
 * @brb: bytes read from devices while in the background
 * @bwb: bytes written to devices while in the background
 * @fbc: bios submitted while in the foreground
 * @bbc: bios submitted while in the background
 * @iowait: ns of IO wait
 * @swc: bytes written with synchronous data semantics
 * @awc: other bytes written
 */
struct zem_io_columns {
	__u64 frb;
	__u64 fwb;
	__u64 brb;
	__u64 bwb;
	__u64 fbc;
	__u64 bbc;
	__u64 iowait;
	__u64 swc;
	__u64 awc;
};

/**
 * struct zem_io_top - a UID in the list by bytes
 * @uid: user id
 * @reserved: always 0
 * @value: since the UID was first seen; frb, fwb, brb and bwb also include earlier IO of the tasks
 *         that existed then
 * @read_calls: number of reads since the UID was first seen
 * @delta: since the previous collection
 * @reserved1: always 0
 * @delta_total: bytes read from and written to devices since the previous collection; the sort key
 * @reserved2: always 0
 */
struct zem_io_top {
	__u32 uid;
	__u32 reserved;
	struct zem_io_columns value;
	__u64 read_calls;
	struct zem_io_columns delta;
	__u64 reserved1;
	__u64 delta_total;
	__u64 reserved2[2];
};

/**
 * struct zem_iowait_top - a UID in the list by IO wait
 * @uid: user id
 * @reserved: always 0
 * @iowait: ns since the UID was first seen
 * @delta_iowait: ns since the previous collection; the sort key
 */
struct zem_iowait_top {
	__u32 uid;
	__u32 reserved;
	__u64 iowait;
	__u64 delta_iowait;
};

/**
 * struct zem_kio - payload of the kio channel
 * @reserved: always 0
 * @devices: /dev/block/sda, /dev/block/sde, /dev/block/by-name/super and userdata
 * @io_top: the UIDs with the most IO since the previous collection, in descending order; unused
 *          entries keep the content of an earlier collection
 * @iowait_top: the UIDs with the most IO wait since the previous collection, in descending order;
 *              unused entries keep the content of an earlier collection
 * @fg_bios: bios in the buckets, of apps in the foreground, since the previous record
 * @bg_bios: other bios in the buckets, since the previous record
 * @read_bios: since the previous record
 * @write_sync_bios: since the previous record
 * @write_async_bios: since the previous record
 * @read_pages: 4 KiB pages, since the previous record
 * @write_sync_pages: 4 KiB pages, since the previous record
 * @write_async_pages: 4 KiB pages, since the previous record
 * @read_sizes: reads of 1, 2, 3 to 8, and more 4 KiB pages in the last interval
 * @tail: data of the collector of long IO waits, unchanged
 */
struct zem_kio {
	__u64 reserved;
	struct zem_io_device devices[ZEM_IO_DEVICES];
	struct zem_io_top io_top[ZEM_IO_TOP];
	struct zem_iowait_top iowait_top[ZEM_IO_TOP];
	__u64 fg_bios;
	__u64 bg_bios;
	__u64 read_bios;
	__u64 write_sync_bios;
	__u64 write_async_bios;
	__u64 read_pages;
	__u64 write_sync_pages;
	__u64 write_async_pages;
	__u64 read_sizes[4];
	__u8 tail[ZEM_IO_TAIL];
};

ZEM_ASSERT_SIZE(zem_io_disk, 88);
ZEM_ASSERT_OFFSET(zem_io_disk, rd_ios, 0);
ZEM_ASSERT_OFFSET(zem_io_disk, rd_merges, 8);
ZEM_ASSERT_OFFSET(zem_io_disk, rd_sectors, 16);
ZEM_ASSERT_OFFSET(zem_io_disk, rd_ticks, 24);
ZEM_ASSERT_OFFSET(zem_io_disk, wr_ios, 32);
ZEM_ASSERT_OFFSET(zem_io_disk, wr_merges, 40);
ZEM_ASSERT_OFFSET(zem_io_disk, wr_sectors, 48);
ZEM_ASSERT_OFFSET(zem_io_disk, wr_ticks, 56);
ZEM_ASSERT_OFFSET(zem_io_disk, in_flight, 64);
ZEM_ASSERT_OFFSET(zem_io_disk, io_ticks, 72);
ZEM_ASSERT_OFFSET(zem_io_disk, time_in_queue, 80);
ZEM_ASSERT_SIZE(zem_io_latency, 40);
ZEM_ASSERT_OFFSET(zem_io_latency, buckets, 0);
ZEM_ASSERT_OFFSET(zem_io_latency, reserved, 28);
ZEM_ASSERT_OFFSET(zem_io_latency, total_time, 32);
ZEM_ASSERT_SIZE(zem_io_device, 248);
ZEM_ASSERT_OFFSET(zem_io_device, disk, 0);
ZEM_ASSERT_OFFSET(zem_io_device, read_fg, 88);
ZEM_ASSERT_OFFSET(zem_io_device, read_bg, 128);
ZEM_ASSERT_OFFSET(zem_io_device, write_fg, 168);
ZEM_ASSERT_OFFSET(zem_io_device, write_bg, 208);
ZEM_ASSERT_SIZE(zem_io_columns, 72);
ZEM_ASSERT_OFFSET(zem_io_columns, frb, 0);
ZEM_ASSERT_OFFSET(zem_io_columns, fwb, 8);
ZEM_ASSERT_OFFSET(zem_io_columns, brb, 16);
ZEM_ASSERT_OFFSET(zem_io_columns, bwb, 24);
ZEM_ASSERT_OFFSET(zem_io_columns, fbc, 32);
ZEM_ASSERT_OFFSET(zem_io_columns, bbc, 40);
ZEM_ASSERT_OFFSET(zem_io_columns, iowait, 48);
ZEM_ASSERT_OFFSET(zem_io_columns, swc, 56);
ZEM_ASSERT_OFFSET(zem_io_columns, awc, 64);
ZEM_ASSERT_SIZE(zem_io_top, 192);
ZEM_ASSERT_OFFSET(zem_io_top, uid, 0);
ZEM_ASSERT_OFFSET(zem_io_top, reserved, 4);
ZEM_ASSERT_OFFSET(zem_io_top, value, 8);
ZEM_ASSERT_OFFSET(zem_io_top, read_calls, 80);
ZEM_ASSERT_OFFSET(zem_io_top, delta, 88);
ZEM_ASSERT_OFFSET(zem_io_top, reserved1, 160);
ZEM_ASSERT_OFFSET(zem_io_top, delta_total, 168);
ZEM_ASSERT_OFFSET(zem_io_top, reserved2, 176);
ZEM_ASSERT_SIZE(zem_iowait_top, 24);
ZEM_ASSERT_OFFSET(zem_iowait_top, uid, 0);
ZEM_ASSERT_OFFSET(zem_iowait_top, reserved, 4);
ZEM_ASSERT_OFFSET(zem_iowait_top, iowait, 8);
ZEM_ASSERT_OFFSET(zem_iowait_top, delta_iowait, 16);
ZEM_ASSERT_SIZE(zem_kio, 3936);
ZEM_ASSERT_OFFSET(zem_kio, reserved, 0);
ZEM_ASSERT_OFFSET(zem_kio, devices, 8);
ZEM_ASSERT_OFFSET(zem_kio, io_top, 1000);
ZEM_ASSERT_OFFSET(zem_kio, iowait_top, 2920);
ZEM_ASSERT_OFFSET(zem_kio, fg_bios, 3160);
ZEM_ASSERT_OFFSET(zem_kio, bg_bios, 3168);
ZEM_ASSERT_OFFSET(zem_kio, read_bios, 3176);
ZEM_ASSERT_OFFSET(zem_kio, write_sync_bios, 3184);
ZEM_ASSERT_OFFSET(zem_kio, write_async_bios, 3192);
ZEM_ASSERT_OFFSET(zem_kio, read_pages, 3200);
ZEM_ASSERT_OFFSET(zem_kio, write_sync_pages, 3208);
ZEM_ASSERT_OFFSET(zem_kio, write_async_pages, 3216);
ZEM_ASSERT_OFFSET(zem_kio, read_sizes, 3224);
ZEM_ASSERT_OFFSET(zem_kio, tail, 3256);

#endif /* _UAPI_LINUX_ZEM_IO_H */
