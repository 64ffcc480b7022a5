// SPDX-License-Identifier: GPL-2.0
/*
 * Folds the 40 slots of the histogram into the seven buckets of the snapshot. The table differs
 * from the buckets' labels, and readers rely on it: one slot is in no bucket, and another one in
 * two.
 */
#include "io/bio_fold.h"

#include "io/bio_counters.h"
#include "kernel/atomic.h"

namespace zem {

namespace {

struct SlotRange {
	u32 first;
	u32 last;
};

constexpr SlotRange kBucketSlots[ZEM_IO_BUCKETS] = {
	{0, 19}, {20, 23}, {24, 25}, {27, 27}, {28, 28}, {29, 29}, {29, 39},
};

/* The counts since the last fold. Locking: callers have locked the IO snapshot. */
constinit BioCounters interval{};

/* Moves a count. Bios that complete meanwhile are in the next fold. */
template <typename T>
void drain(T &sum, T &counter)
{
	if (read_once(counter))
		sum += xchg_relaxed(counter, 0);
}

/* Most slots have no bios, so two are read together. */
void drain(u32 (&sums)[kSlots], u32 (&slots)[kSlots])
{
	using Pair [[gnu::may_alias]] = u64;
	for (size_t i = 0; i < kSlots; i += 2) {
		if (!read_once(*reinterpret_cast<const Pair *>(&slots[i])))
			continue;
		drain(sums[i], slots[i]);
		drain(sums[i + 1], slots[i + 1]);
	}
}

template <typename T, size_t kCounters>
void drain(T (&sums)[kCounters], T (&counters)[kCounters])
{
	for (size_t i = 0; i < kCounters; i++)
		drain(sums[i], counters[i]);
}

void drain_all()
{
	__builtin_memset(&interval, 0, sizeof(interval));
	for (BioCounters &counters : bio_counters) {
		drain(interval.b_q2c, counters.b_q2c);
		drain(interval.b_sac, counters.b_sac);
		drain(interval.b_sas, counters.b_sas);
		drain(interval.bio_total_time, counters.bio_total_time);
		drain(interval.continue_size_bio_cnt, counters.continue_size_bio_cnt);
	}
}

/* Return: the number of bios in all buckets. */
u64 fold(zem_io_latency &record, const u32 (&slots)[kSlots])
{
	u64 bios = 0;
	for (u32 bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++) {
		for (u32 slot = kBucketSlots[bucket].first; slot <= kBucketSlots[bucket].last;
		     slot++) {
			record.buckets[bucket] += slots[slot];
			bios += slots[slot];
		}
	}
	return bios;
}

zem_io_latency &record_of(zem_io_device &device, u32 direction, u32 bio_class)
{
	zem_io_latency *const records[2][2] = {
		{&device.read_fg, &device.read_bg},
		{&device.write_fg, &device.write_bg},
	};
	return *records[direction][bio_class];
}

void fold_histograms(zem_kio &kioind)
{
	u64 *const totals[2] = {&kioind.fg_bios, &kioind.bg_bios};

	for (u32 device = 0; device < ZEM_IO_DEVICES; device++) {
		for (u32 i = 0; i < 4; i++) {
			const u32 direction = i / 2;
			const u32 bio_class = i % 2;
			zem_io_latency &record =
				record_of(kioind.devices[device], direction, bio_class);
			*totals[bio_class] +=
				fold(record, interval.b_q2c[device][direction][bio_class]);
			record.total_time = interval.bio_total_time[bio_class * 2 + direction];
		}
	}
}

} /* namespace */

void gather_bio_cnt(zem_kio &kioind)
{
	drain_all();
	fold_histograms(kioind);
	kioind.read_bios += interval.b_sac[kReads];
	kioind.write_sync_bios += interval.b_sac[kSyncWrites];
	kioind.write_async_bios += interval.b_sac[kAsyncWrites];
	kioind.read_pages += interval.b_sas[kReads];
	kioind.write_sync_pages += interval.b_sas[kSyncWrites];
	kioind.write_async_pages += interval.b_sas[kAsyncWrites];
	for (u32 i = 0; i < 4; i++)
		kioind.read_sizes[i] = interval.continue_size_bio_cnt[i];
}

} /* namespace zem */
