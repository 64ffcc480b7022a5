/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/* Payloads of the cpu, load and cgroup channels. */
#ifndef _UAPI_LINUX_ZEM_LOAD_H
#define _UAPI_LINUX_ZEM_LOAD_H

#include <linux/types.h>

#include "assert.h"

#define ZEM_LOAD_WORDS 16
#define ZEM_LOAD_CPUS 8
/* Capacity of a CPU of the big cluster at full speed: 100 percent of the capacities below. */
#define ZEM_CAPACITY_FULL 45411

/**
 * struct zem_cpu - payload of the cpu channel: one CPU since its last record
 * @cpu: 0 to 7
 * @reserved: always 0
 * @cycles: the CPU's activity counter, running total
 * @usage: capacity units in use; 0 also when no interval could be measured
 */
struct zem_cpu {
	__u32 cpu;
	__u32 reserved;
	__u64 cycles;
	__u64 usage;
};

ZEM_ASSERT_SIZE(zem_cpu, 24);
ZEM_ASSERT_OFFSET(zem_cpu, cpu, 0);
ZEM_ASSERT_OFFSET(zem_cpu, reserved, 4);
ZEM_ASSERT_OFFSET(zem_cpu, cycles, 8);
ZEM_ASSERT_OFFSET(zem_cpu, usage, 16);

/**
 * struct zem_load - payload of the load channel: one process, or thread, since its last record
 *
 * The record of a task that has exited has the leader_flag and pkg of the record before it.
 *
 * @pid: task id
 * @comm: command name, NUL-terminated
 * @ppid: pid of the leader of the task's thread group; -1 without one
 * @leader_flag: 1 if the platform has marked the thread group, else 0
 * @pkg: the thread group's package, NUL-terminated; bytes after the NUL have no meaning
 * @reserved: no meaning
 * @runtime: ns that the task ran
 * @usage: average capacity units that all threads of the process used; 0 for a thread that is not
 *         the leader
 * @combined: capacity units that the task used, from its counters of both clusters
 * @sum_exec_runtime: ns that the task has run since its creation
 * @counter_a: activity counters of both clusters, running totals
 * @reserved_a: no meaning
 * @counter_b: further counters, running totals
 * @reserved_b: no meaning
 * @counter_c: further counters, running totals
 * @reserved_c: no meaning
 */
struct zem_load {
	__u32 pid;
	char comm[16];
	__s32 ppid;
	__u8 leader_flag;
	char pkg[32];
	__u8 reserved[7];
	__u64 runtime;
	__u64 usage;
	__u64 combined;
	__u64 sum_exec_runtime;
	__u64 counter_a[2];
	__u64 reserved_a[2];
	__u64 counter_b[2];
	__u64 reserved_b[2];
	__u64 counter_c[2];
	__u64 reserved_c[2];
};

ZEM_ASSERT_SIZE(zem_load, 192);
ZEM_ASSERT_OFFSET(zem_load, pid, 0);
ZEM_ASSERT_OFFSET(zem_load, comm, 4);
ZEM_ASSERT_OFFSET(zem_load, ppid, 20);
ZEM_ASSERT_OFFSET(zem_load, leader_flag, 24);
ZEM_ASSERT_OFFSET(zem_load, pkg, 25);
ZEM_ASSERT_OFFSET(zem_load, reserved, 57);
ZEM_ASSERT_OFFSET(zem_load, runtime, 64);
ZEM_ASSERT_OFFSET(zem_load, usage, 72);
ZEM_ASSERT_OFFSET(zem_load, combined, 80);
ZEM_ASSERT_OFFSET(zem_load, sum_exec_runtime, 88);
ZEM_ASSERT_OFFSET(zem_load, counter_a, 96);
ZEM_ASSERT_OFFSET(zem_load, reserved_a, 112);
ZEM_ASSERT_OFFSET(zem_load, counter_b, 128);
ZEM_ASSERT_OFFSET(zem_load, reserved_b, 144);
ZEM_ASSERT_OFFSET(zem_load, counter_c, 160);
ZEM_ASSERT_OFFSET(zem_load, reserved_c, 176);

#define ZEM_CGROUPS 7

/**
 * struct zem_cgroup_entry - waits of the tasks of one group since the previous record
 * @name: NUL-padded: "all", "root", "fg", "top", "bg", "sysbg" or "svp"
 * @lat: ns waiting for a CPU
 * @d_io: ns in uninterruptible sleep for IO
 * @d_nonio: ns in other uninterruptible sleep
 */
struct zem_cgroup_entry {
	char name[16];
	__u64 lat;
	__u64 d_io;
	__u64 d_nonio;
};

/**
 * struct zem_cgroup - payload of the cgroup channel
 * @entries: all tasks; the root, foreground, top-app, background and system-background groups of
 *           the cpu controller; SVP tasks
 */
struct zem_cgroup {
	struct zem_cgroup_entry entries[ZEM_CGROUPS];
};

ZEM_ASSERT_SIZE(zem_cgroup_entry, 40);
ZEM_ASSERT_OFFSET(zem_cgroup_entry, name, 0);
ZEM_ASSERT_OFFSET(zem_cgroup_entry, lat, 16);
ZEM_ASSERT_OFFSET(zem_cgroup_entry, d_io, 24);
ZEM_ASSERT_OFFSET(zem_cgroup_entry, d_nonio, 32);
ZEM_ASSERT_SIZE(zem_cgroup, 280);
ZEM_ASSERT_OFFSET(zem_cgroup, entries, 0);

#endif /* _UAPI_LINUX_ZEM_LOAD_H */
