/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/* Payloads of the svp, sched and kzerod channels. */
#ifndef _UAPI_LINUX_ZEM_SCHED_H
#define _UAPI_LINUX_ZEM_SCHED_H

#include <linux/types.h>

#include "assert.h"

#define ZEM_LATENCY_BUCKETS 7
#define ZEM_ALLOC_ORDERS 11

/**
 * struct zem_svp_stats - counters of one SVP task since its last record
 *
 * Upper bounds of the latency buckets, in ms: 1, 8, 16, 33, 67, 134; the last bucket is open.
 *
 * @run_delay: waits for a CPU, by duration: below 2, 10, 20 ms, and longer
 * @run_delay_total: ns
 * @runtime: times on a CPU, by duration: below 5, 15, 30 ms, and longer
 * @runtime_total: ns
 * @d_state_duration: uninterruptible sleeps, by duration: below 3, 10, 30 ms, and longer
 * @d_state_duration_total: ns
 * @async_reclaim: latency buckets
 * @async_compact: latency buckets
 * @direct_reclaim: latency buckets
 * @direct_compact: latency buckets
 * @PG_locked: latency buckets of waits on a locked page
 * @alloc_fail_order: failed page allocations, by order
 * @iowait_total: ns
 * @iowait_total_cnt: number of IO waits
 * @reserved0: always 0
 * @iowait_coldstart: ns of IO waits during an app's cold start; not reported until the start of
 *                    the task's own app has ended
 * @iowait_coldstart_cnt: number of IO waits in iowait_coldstart
 * @iowait_duration: IO waits, by duration: below 1, 3, 10, 20, 50, 100 ms, and longer
 * @ui_iowait_long_cnt: IO waits of a UI task longer than 5 ms, while no app is starting
 * @reserved1: no meaning
 * @read_bytes: bytes read by system calls
 * @read_syscall_cnt: number of reads
 * @reserved2: no meaning
 * @write_bytes: bytes written by system calls
 * @write_syscall_cnt: number of writes
 * @reserved3: no meaning
 * @bio_read_size: bytes read from devices
 * @bio_read_time: ns from issue to completion, summed
 * @bio_read_cnt: number of bios
 * @reserved4: no meaning
 * @bio_write_size: bytes written to devices
 * @bio_write_time: ns from issue to completion, summed
 * @bio_write_cnt: number of bios
 * @reserved5: no meaning
 */
struct zem_svp_stats {
	__u32 run_delay[4];
	__u64 run_delay_total;
	__u32 runtime[4];
	__u64 runtime_total;
	__u32 d_state_duration[4];
	__u64 d_state_duration_total;
	__u32 async_reclaim[ZEM_LATENCY_BUCKETS];
	__u32 async_compact[ZEM_LATENCY_BUCKETS];
	__u32 direct_reclaim[ZEM_LATENCY_BUCKETS];
	__u32 direct_compact[ZEM_LATENCY_BUCKETS];
	__u32 PG_locked[ZEM_LATENCY_BUCKETS];
	__u32 alloc_fail_order[ZEM_ALLOC_ORDERS];
	__u64 iowait_total;
	__u32 iowait_total_cnt;
	__u32 reserved0;
	__u64 iowait_coldstart;
	__u32 iowait_coldstart_cnt;
	__u32 iowait_duration[ZEM_LATENCY_BUCKETS];
	__u32 ui_iowait_long_cnt;
	__u32 reserved1;
	__u64 read_bytes;
	__u32 read_syscall_cnt;
	__u32 reserved2;
	__u64 write_bytes;
	__u32 write_syscall_cnt;
	__u32 reserved3;
	__u64 bio_read_size;
	__u64 bio_read_time;
	__u32 bio_read_cnt;
	__u32 reserved4;
	__u64 bio_write_size;
	__u64 bio_write_time;
	__u32 bio_write_cnt;
	__u32 reserved5;
};

/**
 * struct zem_svp - payload of the svp channel: one SVP task
 * @tgid: thread-group id
 * @pid: task id
 * @thread_name: NUL-terminated
 * @package_name: the thread group's package, NUL-terminated; empty without a package
 * @stats: counters since the task's last record
 */
struct zem_svp {
	__s32 tgid;
	__s32 pid;
	char thread_name[16];
	char package_name[32];
	struct zem_svp_stats stats;
};

ZEM_ASSERT_SIZE(zem_svp_stats, 400);
ZEM_ASSERT_SIZE(zem_svp, 456);
ZEM_ASSERT_OFFSET(zem_svp, tgid, 0);
ZEM_ASSERT_OFFSET(zem_svp, pid, 4);
ZEM_ASSERT_OFFSET(zem_svp, thread_name, 8);
ZEM_ASSERT_OFFSET(zem_svp, package_name, 24);
ZEM_ASSERT_OFFSET(zem_svp, stats.run_delay, 56);
ZEM_ASSERT_OFFSET(zem_svp, stats.run_delay_total, 72);
ZEM_ASSERT_OFFSET(zem_svp, stats.runtime, 80);
ZEM_ASSERT_OFFSET(zem_svp, stats.runtime_total, 96);
ZEM_ASSERT_OFFSET(zem_svp, stats.d_state_duration, 104);
ZEM_ASSERT_OFFSET(zem_svp, stats.d_state_duration_total, 120);
ZEM_ASSERT_OFFSET(zem_svp, stats.async_reclaim, 128);
ZEM_ASSERT_OFFSET(zem_svp, stats.async_compact, 156);
ZEM_ASSERT_OFFSET(zem_svp, stats.direct_reclaim, 184);
ZEM_ASSERT_OFFSET(zem_svp, stats.direct_compact, 212);
ZEM_ASSERT_OFFSET(zem_svp, stats.PG_locked, 240);
ZEM_ASSERT_OFFSET(zem_svp, stats.alloc_fail_order, 268);
ZEM_ASSERT_OFFSET(zem_svp, stats.iowait_total, 312);
ZEM_ASSERT_OFFSET(zem_svp, stats.iowait_total_cnt, 320);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved0, 324);
ZEM_ASSERT_OFFSET(zem_svp, stats.iowait_coldstart, 328);
ZEM_ASSERT_OFFSET(zem_svp, stats.iowait_coldstart_cnt, 336);
ZEM_ASSERT_OFFSET(zem_svp, stats.iowait_duration, 340);
ZEM_ASSERT_OFFSET(zem_svp, stats.ui_iowait_long_cnt, 368);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved1, 372);
ZEM_ASSERT_OFFSET(zem_svp, stats.read_bytes, 376);
ZEM_ASSERT_OFFSET(zem_svp, stats.read_syscall_cnt, 384);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved2, 388);
ZEM_ASSERT_OFFSET(zem_svp, stats.write_bytes, 392);
ZEM_ASSERT_OFFSET(zem_svp, stats.write_syscall_cnt, 400);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved3, 404);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_read_size, 408);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_read_time, 416);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_read_cnt, 424);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved4, 428);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_write_size, 432);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_write_time, 440);
ZEM_ASSERT_OFFSET(zem_svp, stats.bio_write_cnt, 448);
ZEM_ASSERT_OFFSET(zem_svp, stats.reserved5, 452);

#define ZEM_SCHED_BUCKETS 10
#define ZEM_SCHED_CPUS 8

/**
 * struct zem_sched_block - increase of one scheduler histogram since the previous record
 * @counts: by duration; the bounds depend on the histogram
 * @cpu_time: time of CPUs 0 to 7, in units of 1024 ns
 * @total_time: time of all CPUs, in units of 1024 ns
 */
struct zem_sched_block {
	__u32 counts[ZEM_SCHED_BUCKETS];
	__u32 cpu_time[ZEM_SCHED_CPUS];
	__u32 total_time;
};

/**
 * struct zem_sched - payload of the sched channel
 *
 * Upper bounds of the buckets follow; the last bucket of each histogram is open.
 *
 * @reserved: always 0
 * @irqtime: hard interrupts: 100, 200, 300, 500 us, 1, 2, 4, 6, 8 ms
 * @svp_runtime: SVP tasks on a CPU: 2, 5, 8, 11, 15, 18, 22, 27, 32 ms
 * @svp_rundelay: SVP tasks waiting for a CPU: 0.5, 1, 2, 3, 5, 7, 10, 15, 20 ms
 * @svp_d_state: SVP tasks in uninterruptible sleep: 2, 3, 7, 12, 18, 27, 44, 100, 200 ms
 */
struct zem_sched {
	__u32 reserved[48];
	struct zem_sched_block irqtime;
	struct zem_sched_block svp_runtime;
	struct zem_sched_block svp_rundelay;
	struct zem_sched_block svp_d_state;
};

ZEM_ASSERT_SIZE(zem_sched_block, 76);
ZEM_ASSERT_OFFSET(zem_sched_block, counts, 0);
ZEM_ASSERT_OFFSET(zem_sched_block, cpu_time, 40);
ZEM_ASSERT_OFFSET(zem_sched_block, total_time, 72);
ZEM_ASSERT_SIZE(zem_sched, 496);
ZEM_ASSERT_OFFSET(zem_sched, reserved, 0);
ZEM_ASSERT_OFFSET(zem_sched, irqtime, 192);
ZEM_ASSERT_OFFSET(zem_sched, svp_runtime, 268);
ZEM_ASSERT_OFFSET(zem_sched, svp_rundelay, 344);
ZEM_ASSERT_OFFSET(zem_sched, svp_d_state, 420);

/**
 * struct zem_kzerod - payload of the kzerod channel: running totals of the zero-page daemon
 * @zero_page_alloc_failed: pages
 * @zero_page_alloc_prezero: pages
 * @zero_page_list_alloc_total: pages
 * @zero_page_list_breakdown_total: pages
 * @zero_page_list_drain_total: pages
 */
struct zem_kzerod {
	__s64 zero_page_alloc_failed;
	__s64 zero_page_alloc_prezero;
	__s64 zero_page_list_alloc_total;
	__s64 zero_page_list_breakdown_total;
	__s64 zero_page_list_drain_total;
};

ZEM_ASSERT_SIZE(zem_kzerod, 40);
ZEM_ASSERT_OFFSET(zem_kzerod, zero_page_alloc_failed, 0);
ZEM_ASSERT_OFFSET(zem_kzerod, zero_page_alloc_prezero, 8);
ZEM_ASSERT_OFFSET(zem_kzerod, zero_page_list_alloc_total, 16);
ZEM_ASSERT_OFFSET(zem_kzerod, zero_page_list_breakdown_total, 24);
ZEM_ASSERT_OFFSET(zem_kzerod, zero_page_list_drain_total, 32);

#endif /* _UAPI_LINUX_ZEM_SCHED_H */
