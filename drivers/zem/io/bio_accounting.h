/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Bios of the tracked devices, counted as they complete, and the fold of the counts into the
 * snapshot; what SVP tasks wait for IO.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"
#include "uapi/linux/zem.h"

struct bio;
struct task_struct;

namespace zem {

/* The master switch of the IO indicators, 1 or 0; nothing here changes it. */
extern Relaxed<int> kioind_on;

/* Handlers of the block layer's hooks. Any context. */
void bio_endio_part_rwd_q2c(void *, bio *bio);
void record_bio_task_count(void *, bio *bio);
void clone_bio_flag(void *, bio *clone, bio *source);

/* svp_iowait.cc: the handler of a task that was blocked for @delay ns. Under the run-queue lock. */
void svp_iowait_record(void *, task_struct *task, u64 delay);

/*
 * Of one bio, for further users of it. Any context; record_bio_task() not under a run-queue lock.
 */
/* Return: 4 KiB pages at the time that the block layer took it. */
[[nodiscard]] u32 get_bio_size(const bio *bio);
/* Return: its BioClass; the mark of the foreground is gone then. */
[[nodiscard]] u32 get_bio_fg_bg(bio *bio);
/* Marks it if the current task's UID is in the foreground. */
void record_bio_task(bio *bio);

/* Moves what was counted since the last time into the snapshot. Callers take turns. */
void gather_bio_cnt(zem_kio &kioind);

} /* namespace zem */
