// SPDX-License-Identifier: GPL-2.0
/*
 * What a tracing tool runs to measure what zem measures: each program is the shortest that gives
 * the same figures, with maps as such tools have them. For each event there is an empty program as
 * well, whose time is what the kernel needs to count a run.
 */
#include <linux/bpf.h>
#include <stdbool.h>

#include <bpf/bpf_core_read.h>
#include <bpf/bpf_helpers.h>
#include <bpf/bpf_tracing.h>

#define SLOTS 27
#define PERCPU_ARRAY(name, value_type)                   \
	struct {                                         \
		__uint(type, BPF_MAP_TYPE_PERCPU_ARRAY); \
		__uint(max_entries, 1);                  \
		__type(key, __u32);                      \
		__type(value, value_type);               \
	} name SEC(".maps")
#define HASH(name, key_type, value_type)         \
	struct {                                 \
		__uint(type, BPF_MAP_TYPE_HASH); \
		__uint(max_entries, 10240);      \
		__type(key, key_type);           \
		__type(value, value_type);       \
	} name SEC(".maps")

/* The fields that are used; the loader looks up their places in the running kernel. */
#pragma clang attribute push(__attribute__((preserve_access_index)), apply_to = record)
struct kernfs_node {
	__u64 id;
};
struct cgroup {
	struct kernfs_node *kn;
};
struct cgroup_subsys_state {
	struct cgroup *cgroup;
};
struct css_set {
	struct cgroup_subsys_state *subsys[2];
};
struct task_struct {
	int pid;
	unsigned int __state;
	struct css_set *cgroups;
};
#pragma clang attribute pop

enum cgroup_subsys_id { cpu_cgrp_id = 1 };

/* The event of a system call's end: its common fields, number and result. */
struct call_end {
	__u64 common;
	__s64 number;
	__s64 result;
};

struct histogram {
	__u64 total;
	__u64 slots[SLOTS];
};

static const __u32 zero;

static __always_inline __u32 slot_of(__u64 ns)
{
	__u32 slot = 0;
	__u64 us = ns / 1000;

#pragma unroll
	for (int shift = 16; shift; shift >>= 1)
		if (us >> shift) {
			us >>= shift;
			slot += shift;
		}
	return slot < SLOTS ? slot : SLOTS - 1;
}

static __always_inline void count(struct histogram *histogram, __u64 ns)
{
	if (!histogram)
		return;
	histogram->total += ns;
	histogram->slots[slot_of(ns)]++;
}

/* --- Delay from the wake-up of a task to its run ---------------------------------------------- */

HASH(woken, __u32, __u64);
PERCPU_ARRAY(run_delay, struct histogram);

static __always_inline int is_woken(const struct task_struct *task)
{
	__u32 pid = task->pid;
	__u64 now = bpf_ktime_get_ns();

	if (pid)
		bpf_map_update_elem(&woken, &pid, &now, BPF_ANY);
	return 0;
}

SEC("tp_btf/sched_wakeup")
int BPF_PROG(run_delay_wakeup, struct task_struct *task)
{
	return is_woken(task);
}

SEC("tp_btf/sched_wakeup_new")
int BPF_PROG(run_delay_wakeup_new, struct task_struct *task)
{
	return is_woken(task);
}

SEC("tp_btf/sched_switch")
int BPF_PROG(run_delay_switch, bool preempted, struct task_struct *before,
	     struct task_struct *after)
{
	__u32 pid = after->pid;
	__u64 *since;

	if (!before->__state)
		is_woken(before);
	since = bpf_map_lookup_elem(&woken, &pid);
	if (!since)
		return 0;
	count(bpf_map_lookup_elem(&run_delay, &zero), bpf_ktime_get_ns() - *since);
	bpf_map_delete_elem(&woken, &pid);
	return 0;
}

SEC("tp_btf/sched_wakeup")
int BPF_PROG(empty_wakeup, struct task_struct *task)
{
	return 0;
}

SEC("tp_btf/sched_switch")
int BPF_PROG(empty_switch, bool preempted, struct task_struct *before, struct task_struct *after)
{
	return 0;
}

/* --- Delay by cgroup ------------------------------------------------------------------------- */

HASH(cgroup_delay, __u64, __u64);

SEC("tp_btf/sched_stat_wait")
int BPF_PROG(cgroup_wait, struct task_struct *task, __u64 delay)
{
	__u64 id = task->cgroups->subsys[cpu_cgrp_id]->cgroup->kn->id;
	__u64 *sum = bpf_map_lookup_elem(&cgroup_delay, &id);

	if (sum)
		__sync_fetch_and_add(sum, delay);
	else
		bpf_map_update_elem(&cgroup_delay, &id, &delay, BPF_NOEXIST);
	return 0;
}

SEC("tp_btf/sched_stat_wait")
int BPF_PROG(empty_wait, struct task_struct *task, __u64 delay)
{
	return 0;
}

/* --- Time in interrupts ---------------------------------------------------------------------- */

PERCPU_ARRAY(irq_start, __u64);
PERCPU_ARRAY(irq_time, struct histogram);

SEC("tp_btf/irq_handler_entry")
int BPF_PROG(irq_time_entry, int irq, void *action)
{
	__u64 *start = bpf_map_lookup_elem(&irq_start, &zero);

	if (start)
		*start = bpf_ktime_get_ns();
	return 0;
}

SEC("tp_btf/irq_handler_exit")
int BPF_PROG(irq_time_exit, int irq, void *action, int result)
{
	__u64 *start = bpf_map_lookup_elem(&irq_start, &zero);

	if (start)
		count(bpf_map_lookup_elem(&irq_time, &zero), bpf_ktime_get_ns() - *start);
	return 0;
}

SEC("tp_btf/irq_handler_entry")
int BPF_PROG(empty_irq, int irq, void *action)
{
	return 0;
}

/* --- Latency of block IO --------------------------------------------------------------------- */

HASH(issued, __u64, __u64);
PERCPU_ARRAY(block_latency, struct histogram);

SEC("tp_btf/block_rq_issue")
int BPF_PROG(block_issue, void *request)
{
	__u64 key = (__u64)request;
	__u64 now = bpf_ktime_get_ns();

	bpf_map_update_elem(&issued, &key, &now, BPF_ANY);
	return 0;
}

SEC("tp_btf/block_rq_complete")
int BPF_PROG(block_complete, void *request, int error, unsigned int bytes)
{
	__u64 key = (__u64)request;
	__u64 *since = bpf_map_lookup_elem(&issued, &key);

	if (!since)
		return 0;
	count(bpf_map_lookup_elem(&block_latency, &zero), bpf_ktime_get_ns() - *since);
	bpf_map_delete_elem(&issued, &key);
	return 0;
}

SEC("tp_btf/block_rq_complete")
int BPF_PROG(empty_block, void *request, int error, unsigned int bytes)
{
	return 0;
}

/* --- Bytes read by UID ----------------------------------------------------------------------- */

HASH(uid_bytes, __u32, __u64);

SEC("tp/syscalls/sys_exit_read")
int uid_read(const struct call_end *end)
{
	__u32 uid = bpf_get_current_uid_gid();
	__u64 bytes = end->result;
	__u64 *sum;

	if (end->result <= 0)
		return 0;
	sum = bpf_map_lookup_elem(&uid_bytes, &uid);
	if (sum)
		__sync_fetch_and_add(sum, bytes);
	else
		bpf_map_update_elem(&uid_bytes, &uid, &bytes, BPF_NOEXIST);
	return 0;
}

SEC("tp/syscalls/sys_exit_read")
int empty_read(const struct call_end *end)
{
	return 0;
}

/* --- Records --------------------------------------------------------------------------------- */

struct header {
	__u64 time;
	__u32 length;
	__u32 channel;
	__u32 sub_type;
	__u32 train_number;
	__u64 reserved;
};

struct record_4 {
	struct header header;
	__u64 payload[1]; /* 4 bytes of it */
};

struct record_456 {
	struct header header;
	__u64 payload[57];
};

struct {
	__uint(type, BPF_MAP_TYPE_RINGBUF);
	__uint(max_entries, 1 << 20);
} records SEC(".maps");

PERCPU_ARRAY(source, struct record_456);

static __always_inline void head(struct header *header, __u32 length)
{
	*header = (struct header){
		.time = bpf_ktime_get_ns(),
		.length = length,
		.channel = 1,
		.train_number = 1,
	};
}

/* The program fills the record in the buffer. */
#define RESERVE(size)                                                                   \
	SEC("raw_tp/sched_switch")                                                      \
	int reserve_##size(void *context)                                               \
	{                                                                               \
		struct record_456 *from = bpf_map_lookup_elem(&source, &zero);          \
		struct record_##size *to =                                              \
			bpf_ringbuf_reserve(&records, sizeof(struct header) + size, 0); \
                                                                                        \
		if (!to)                                                                \
			return 0;                                                       \
		if (!from) {                                                            \
			bpf_ringbuf_discard(to, 0);                                     \
			return 0;                                                       \
		}                                                                       \
		head(&to->header, size);                                                \
		__builtin_memcpy(to->payload, from->payload, size);                     \
		bpf_ringbuf_submit(to, 0);                                              \
		return 0;                                                               \
	}

/* The kernel copies the record to the buffer. */
#define OUTPUT(size)                                                                 \
	SEC("raw_tp/sched_switch")                                                   \
	int output_##size(void *context)                                             \
	{                                                                            \
		struct record_456 *from = bpf_map_lookup_elem(&source, &zero);       \
                                                                                     \
		if (!from)                                                           \
			return 0;                                                    \
		head(&from->header, size);                                           \
		bpf_ringbuf_output(&records, from, sizeof(struct header) + size, 0); \
		return 0;                                                            \
	}

RESERVE(4)
RESERVE(456)
OUTPUT(4)
OUTPUT(456)

SEC("raw_tp/sched_switch")
int empty_record(void *context)
{
	return 0;
}

char licence[] SEC("license") = "GPL";
