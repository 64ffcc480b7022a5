/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The work of the measured functions in plain C, with one lock or one set of counters for all CPUs,
 * and what they have counted.
 */
#ifndef _ZEM_BENCH_SCALE_FLOOR_H
#define _ZEM_BENCH_SCALE_FLOOR_H

#include "host/objects.h"

#ifdef __cplusplus
extern "C" {
#endif

struct trace_buffer;

void floor_init(void);

/* A table of UIDs with one lock. */
struct floor_uid {
	struct floor_uid *next;
	u32 uid;
	u32 state;
	u64 read_calls;
	u64 write_chars;
	u64 bio_count[2];
};

void floor_make_uid(u32 uid, struct floor_uid *entry);
/* Return: NULL without an entry. Locking: no other thread uses the table. */
struct floor_uid *floor_find_uid(u32 uid);
void floor_rchar(s64 bytes);
void floor_wchar(s64 bytes);
u32 floor_submit(void);
u32 floor_uid_state(u32 uid);

/* Atomic counters of completed bios. */
#define FLOOR_SLOTS 40

struct floor_bios {
	u32 latencies[2][2][FLOOR_SLOTS]; /* by direction and class */
	u32 counts[3];
	u32 pages[3];
	u64 total_times[4];
	u64 read_sizes[4];
};

extern struct floor_bios floor_bios;
void floor_track(u32 device);
void floor_endio(struct bio *bio);

/* Signals through a completion, which takes its lock each time. */
void floor_ring(void);
/* Return: the number of signals since floor_init(). */
u32 floor_rung(void);

/* Pushes a record into the floor's ring buffer, and signals it. */
void floor_set(const void *data, u32 length);
struct trace_buffer *floor_ring_buffer(void);

/* Sums of waits with one lock: all tasks, those of the group, and important tasks. */
extern u64 floor_waits[3];
void floor_stat_wait(struct task_struct *task, u64 delay);

#ifdef __cplusplus
}
#endif

#endif /* _ZEM_BENCH_SCALE_FLOOR_H */
