/* SPDX-License-Identifier: GPL-2.0 */
/* Counts bios of the tracked devices as they complete. */
#pragma once

#include "kernel/api/types.h"
#include "kernel/relaxed.h"

struct bio;

namespace zem {

/* The master switch of the IO indicators, 1 or 0. The module does not change it. */
extern Relaxed<int> kioind_on;

/* Handlers of the block layer's hooks. Context: any. */
void bio_endio_part_rwd_q2c(void *, bio *bio);
void record_bio_task_count(void *, bio *bio);
void clone_bio_flag(void *, bio *clone, bio *source);

/*
 * For other users of a bio. Context: any; record_bio_task() without a run-queue lock.
 */
/* Return: 4 KiB pages when the block layer received the bio. */
[[nodiscard]] u32 get_bio_size(const bio *bio);
/* Return: BioClass of the bio. Clears the foreground mark. */
[[nodiscard]] u32 get_bio_fg_bg(bio *bio);
/* Marks the bio if the current task's UID is in the foreground. */
void record_bio_task(bio *bio);

} /* namespace zem */
