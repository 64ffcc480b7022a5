// SPDX-License-Identifier: GPL-2.0
/*
 * Handlers of the block layer's hooks. A completion takes no lock and allocates nothing: it
 * compares four device numbers, divides once, and counts leading zeros for the class of latency.
 */
#include "io/bio_accounting.h"

#include "io/bio_counters.h"
#include "io/devices.h"
#include "io/uid_entry.h"
#include "io/uid_io.h"
#include "kernel/api/io_accounting.h"
#include "kernel/api/task.h"
#include "kernel/api/time.h"
#include "kernel/atomic.h"
#include "kernel/bio.h"
#include "platform/task_record.h"

namespace zem {

constinit Relaxed<int> kioind_on{1};
constinit BioCounters bio_counters[kBioCounterSets]{};

namespace {

constexpr u64 kTotalTimeUnit = 100'000; /* ns */
constexpr u64 kPageSize = 4096;

/* The properties by which a completed bio is counted. */
struct Completion {
	u32 device; /* index of the tracked device */
	u32 operation;
	bool is_sync;
	BioClass bio_class;
	u32 pages;
	u64 latency; /* ns */

	[[nodiscard]] bool is_discard() const { return operation == kBioDiscard; }

	/* The bio must not be a discard. */
	[[nodiscard]] Direction direction() const { return static_cast<Direction>(operation & 1); }
};

BioKind kind_of(const Completion &done)
{
	if (done.direction() == kRead)
		return kReads;
	return done.is_sync ? kSyncWrites : kAsyncWrites;
}

u32 slot_of(u64 per_page)
{
	return 63 - static_cast<u32>(__builtin_clzll(per_page));
}

void count_latency(BioCounters &counters, const Completion &done)
{
	if (done.is_discard() || done.pages > done.latency)
		return;
	const u64 per_page = done.latency / done.pages;
	const u32 slot = slot_of(per_page);
	/* The age of a stamp ahead of the clock is this large, and would distort the sums. */
	if (slot >= kSlots)
		return;
	const BioKind kind = kind_of(done);
	atomic_add(1, counters.b_q2c[done.device][done.direction()][done.bio_class][slot]);
	atomic_add(1, counters.b_sac[kind]);
	atomic_add(done.pages, counters.b_sas[kind]);
	atomic_add(per_page / kTotalTimeUnit,
		   counters.bio_total_time[done.bio_class * 2 + done.direction()]);
}

void count_read_size(BioCounters &counters, const Completion &done)
{
	if (done.is_discard() || done.direction() != kRead)
		return;
	const u32 size = done.pages == 1 ? 0 : done.pages == 2 ? 1 : done.pages <= 8 ? 2 : 3;
	atomic_add(1, counters.continue_size_bio_cnt[size]);
}

void count_for_task(zem_svp_stats &stats, const Completion &done)
{
	const __u64 bytes = done.pages * kPageSize;
	const __u64 latency = done.latency;
	if (done.direction() == kRead) {
		atomic_add(bytes, stats.bio_read_size);
		atomic_add(latency, stats.bio_read_time);
		atomic_add(1, stats.bio_read_cnt);
	} else {
		atomic_add(bytes, stats.bio_write_size);
		atomic_add(latency, stats.bio_write_time);
		atomic_add(1, stats.bio_write_cnt);
	}
}

/*
 * Counts for the task that submitted the bio, if the task still waits for IO.
 * Locking: caller holds rcu_read_lock(), as every hook does.
 */
void count_svp(int submitter, const Completion &done)
{
	if (done.is_discard() || submitter < 1)
		return;
	task_struct *task = helper_find_task_in_iowait(submitter);
	if (!task)
		return;
	if (const task_ext *record = record_of_counted(task))
		count_for_task(*record->svp_stats, done);
}

} /* namespace */

void bio_endio_part_rwd_q2c(void *, bio *bio)
{
	const BioStamp stamp = bio_stamp(bio);
	if (!stamp.word || !kioind_on.load())
		return;
	const u32 dev = bio_device(bio);
	const u32 device = dev ? tracked_device(dev) : kNotTracked;
	const u32 pages = stamp.pages();
	if (device == kNotTracked || !pages)
		return;

	const u32 word = bio_operation_word(bio);
	const Completion done{
		.device = device,
		.operation = word & kBioOperation,
		.is_sync = (word & kBioSync) != 0,
		.bio_class = static_cast<BioClass>(get_bio_fg_bg(bio)),
		.pages = pages,
		.latency = stamp.age(static_cast<u64>(ktime_get())),
	};
	BioCounters &counters = my_bio_counters();
	count_latency(counters, done);
	count_read_size(counters, done);
	count_svp(platform_bio_submitter(bio), done);
}

void record_bio_task_count(void *, bio *bio)
{
	if (record_bio_count() == kForeground)
		ForegroundMark(bio).set();
}

u32 get_bio_size(const bio *bio)
{
	return bio_stamp(bio).pages();
}

u32 get_bio_fg_bg(bio *bio)
{
	ForegroundMark mark(bio);
	if (!mark.is_set())
		return kBackgroundBio;
	mark.clear();
	return kForegroundBio;
}

void record_bio_task(bio *bio)
{
	const s64 uid = current_uid();
	if (uid >= 0 && get_uid_state(static_cast<u32>(uid)) == kForeground)
		ForegroundMark(bio).set();
}

void clone_bio_flag(void *, bio *clone, bio *source)
{
	if (ForegroundMark(source).is_set())
		ForegroundMark(clone).set();
}

} /* namespace zem */
