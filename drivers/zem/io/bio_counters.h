/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters of completing bios, in sets by CPU. The fold adds up the sets and exchanges each counter
 * with 0, so no bio is lost.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/cpu_sets.h"
#include "uapi/linux/zem.h"

namespace zem {

enum Direction : u32 { kRead, kWrite };
enum BioClass : u32 { kForegroundBio, kBackgroundBio };
/* Kinds of bios in b_sac and b_sas. */
enum BioKind : u32 { kReads, kSyncWrites, kAsyncWrites };

/* Slots, by the logarithm of the ns for each 4 KiB. */
inline constexpr u32 kSlots = 40;

struct alignas(64) BioCounters {
	u32 b_q2c[ZEM_IO_DEVICES][2][2][kSlots]; /* by direction and class */
	u32 b_sac[3]; /* bios, by kind */
	u32 b_sas[3]; /* 4 KiB pages, by kind */
	u64 bio_total_time[4]; /* 100 us per 4 KiB; class * 2 + direction */
	u64 continue_size_bio_cnt[4]; /* reads of 1, 2, 3 to 8, and more pages */
};

static_assert(sizeof(BioCounters::b_q2c) == 2560);
static_assert(__builtin_offsetof(BioCounters, b_q2c) % sizeof(u64) == 0 && kSlots % 2 == 0);

inline constexpr u32 kBioCounterSets = 8;
extern BioCounters bio_counters[kBioCounterSets];

/* Return: where to count with atomic_add(). */
[[nodiscard]] inline BioCounters &my_bio_counters()
{
	return set_of_this_cpu(bio_counters);
}

} /* namespace zem */
