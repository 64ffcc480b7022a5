// SPDX-License-Identifier: GPL-2.0
/*
 * Folds the 40 slots of the histogram into the seven buckets of the snapshot. The table differs
 * from the buckets' labels, and readers rely on it: one slot is in no bucket, and another one in
 * two.
 */
#include "io/bio_accounting.h"
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

/* Return: the count, which is reset. Bios that complete meanwhile are in the next fold. */
template <typename T>
T take(T &counter)
{
	if (!read_once(counter))
		return 0;
	return xchg_relaxed(counter, 0);
}

/* Return: the number of bios in all buckets. */
u64 fold(zem_io_latency &record, u32 (&slots)[kSlots])
{
	u32 taken[kSlots];
	for (u32 slot = 0; slot < kSlots; slot++)
		taken[slot] = take(slots[slot]);

	u64 bios = 0;
	for (u32 bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++) {
		for (u32 slot = kBucketSlots[bucket].first; slot <= kBucketSlots[bucket].last;
		     slot++) {
			record.buckets[bucket] += taken[slot];
			bios += taken[slot];
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
	u64 times[4];
	for (u32 i = 0; i < 4; i++)
		times[i] = take(bio_counters.bio_total_time[i]);

	for (u32 device = 0; device < ZEM_IO_DEVICES; device++) {
		for (u32 i = 0; i < 4; i++) {
			const u32 direction = i / 2;
			const u32 bio_class = i % 2;
			zem_io_latency &record =
				record_of(kioind.devices[device], direction, bio_class);
			*totals[bio_class] +=
				fold(record, bio_counters.b_q2c[device][direction][bio_class]);
			record.total_time = times[bio_class * 2 + direction];
		}
	}
}

} /* namespace */

void gather_bio_cnt(zem_kio &kioind)
{
	fold_histograms(kioind);
	kioind.read_bios += take(bio_counters.b_sac[kReads]);
	kioind.write_sync_bios += take(bio_counters.b_sac[kSyncWrites]);
	kioind.write_async_bios += take(bio_counters.b_sac[kAsyncWrites]);
	kioind.read_pages += take(bio_counters.b_sas[kReads]);
	kioind.write_sync_pages += take(bio_counters.b_sas[kSyncWrites]);
	kioind.write_async_pages += take(bio_counters.b_sas[kAsyncWrites]);
	for (u32 i = 0; i < 4; i++)
		kioind.read_sizes[i] = take(bio_counters.continue_size_bio_cnt[i]);
}

} /* namespace zem */
