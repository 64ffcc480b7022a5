// SPDX-License-Identifier: GPL-2.0
/* The hooks of reads, writes and bios, and the state of a UID. */
#include "floor.h"
#include "host/cpu.h"
#include "io/bio_accounting.h"
#include "io/bio_fold.h"
#include "io/devices.h"
#include "io/uid_io.h"
#include "io/uid_table.h"
#include "kernel/bio.h"
#include "kernel/api/time.h"
#include "rows.h"
#include "uapi/linux/zem.h"

namespace scale {

namespace {

constexpr s64 kBytes = 4096;
constexpr u32 kDevice = 0x800000;
constexpr u64 kOnePage = u64{1} << 54;
constexpr u64 kStampTime = zem::BioStamp::kTime;
constexpr u32 kRead = 0;

/* Slot 31 at least, so that all bios are in the last bucket. */
constexpr u64 kAge = 4'000'000'000; /* ns */
constexpr u64 kAgeUnit = 100'000; /* ns, of the sums of times */

block_device disk{.unused = nullptr, .number = kDevice};

void call_rchar(Worker &worker, unsigned int times)
{
	const auto call = opaque(zem::task_rchar);
	while (times--)
		call(nullptr, &worker.kiocb, &worker.task, kBytes);
}

void call_wchar(Worker &worker, unsigned int times)
{
	const auto call = opaque(zem::task_wchar);
	while (times--)
		call(nullptr, &worker.kiocb, &worker.task, kBytes);
}

void call_submit(Worker &worker, unsigned int times)
{
	const auto call = opaque(zem::record_bio_task_count);
	while (times--)
		call(nullptr, &worker.bio);
}

void call_endio(Worker &worker, unsigned int times)
{
	const auto call = opaque(zem::bio_endio_part_rwd_q2c);
	while (times--)
		call(nullptr, &worker.bio);
}

void call_uid_state(Worker &worker, unsigned int times)
{
	const auto call = opaque(zem::get_uid_state);
	while (times--)
		worker.result += call(worker.cred.uid) == zem::kForeground;
}

void call_floor_rchar(Worker &, unsigned int times)
{
	const auto call = opaque(floor_rchar);
	while (times--)
		call(kBytes);
}

void call_floor_wchar(Worker &, unsigned int times)
{
	const auto call = opaque(floor_wchar);
	while (times--)
		call(kBytes);
}

void call_floor_submit(Worker &, unsigned int times)
{
	const auto call = opaque(floor_submit);
	while (times--)
		call();
}

void call_floor_endio(Worker &worker, unsigned int times)
{
	const auto call = opaque(floor_endio);
	while (times--)
		call(&worker.bio);
}

void call_floor_uid_state(Worker &worker, unsigned int times)
{
	const auto call = opaque(floor_uid_state);
	while (times--)
		worker.result += call(worker.cred.uid) == zem::kForeground;
}

void make_known(u32 uid)
{
	if (zem::find_uid(uid))
		return;
	static_cast<void>(zem::LockedUid::make(uid));
	floor_make_uid(uid, new floor_uid{});
}

void with_one_uid(Worker &worker)
{
	make_known(worker.cred.uid);
}

void with_own_uid(Worker &worker)
{
	worker.cred.uid += worker.index;
	make_known(worker.cred.uid);
}

void with_bio(Worker &worker)
{
	const u64 stamp = (static_cast<u64>(ktime_get()) - kAge) & kStampTime;
	worker.bio = {
		.unused = nullptr,
		.device = &disk,
		.operation = kRead,
		.flags = 0,
		.issue = stamp | kOnePage,
	};
}

/* One count of a UID for each distinct UID. @value: its count. */
template <typename Value>
std::vector<Count> by_uid(Workers workers, const char *what, u64 for_each_call, Value value)
{
	const bool is_shared = workers.size() > 1 && workers[0]->cred.uid == workers[1]->cred.uid;
	std::vector<Count> counts;
	for (const auto &worker : workers) {
		counts.push_back({
			.what = std::string(what) + " of " + std::to_string(worker->cred.uid),
			.value = value(worker->cred.uid),
			.for_each_call = for_each_call,
			.worker = is_shared ? Count::kAll : static_cast<int>(worker->index),
		});
		if (is_shared)
			break;
	}
	return counts;
}

template <auto member>
u64 total_of(u32 uid)
{
	u64 sum = 0;
	for (const zem::UidCounts &counts : zem::find_uid(uid)->counts)
		sum += counts.*member;
	return sum;
}

u64 bios_of(u32 uid)
{
	u64 sum = 0;
	for (const zem::UidCounts &counts : zem::find_uid(uid)->counts)
		sum += counts.bio_count[zem::kForeground];
	return sum;
}

std::vector<Count> reads(Workers workers)
{
	return by_uid(workers, "reads", 1, total_of<&zem::UidCounts::read_calls>);
}

std::vector<Count> writes(Workers workers)
{
	return by_uid(workers, "written bytes", kBytes,
		      total_of<&zem::UidCounts::async_write_chars>);
}

std::vector<Count> submissions(Workers workers)
{
	return by_uid(workers, "bios", 1, bios_of);
}

std::vector<Count> floor_reads(Workers workers)
{
	return by_uid(workers, "reads", 1, [](u32 uid) { return floor_find_uid(uid)->read_calls; });
}

std::vector<Count> floor_writes(Workers workers)
{
	return by_uid(workers, "written bytes", kBytes,
		      [](u32 uid) { return floor_find_uid(uid)->write_chars; });
}

std::vector<Count> floor_submissions(Workers workers)
{
	return by_uid(workers, "bios", 1,
		      [](u32 uid) { return floor_find_uid(uid)->bio_count[zem::kForeground]; });
}

std::vector<Count> answers(Workers workers)
{
	std::vector<Count> counts;
	for (const auto &worker : workers)
		counts.push_back({
			.what = "foreground answers",
			.value = worker->result,
			.worker = static_cast<int>(worker->index),
		});
	return counts;
}

/* The sums of all folds. */
struct Completions {
	u64 reads;
	u64 pages;
	u64 in_last_bucket;
	u64 of_one_page;
	u64 time;
};

const Completions &completions()
{
	static Completions sum{};
	static zem_kio folded;

	folded = {};
	zem::gather_bio_cnt(folded);
	sum.reads += folded.read_bios;
	sum.pages += folded.read_pages;
	sum.in_last_bucket += folded.devices[0].read_bg.buckets[ZEM_IO_BUCKETS - 1];
	sum.of_one_page += folded.read_sizes[0];
	sum.time += folded.devices[0].read_bg.total_time;
	return sum;
}

std::vector<Count> counts_of(const Completions &sum)
{
	return {
		{.what = "reads", .value = sum.reads},
		{.what = "pages", .value = sum.pages},
		{.what = "reads in the last bucket", .value = sum.in_last_bucket},
		{.what = "reads of one page", .value = sum.of_one_page},
		{.what = "total time",
		 .value = sum.time,
		 .for_each_call = kAge / kAgeUnit,
		 .may_be_more = true},
	};
}

std::vector<Count> endio_counts(Workers)
{
	return counts_of(completions());
}

/* All devices have the same number in zem's record of times, so the floor has only one. */
std::vector<Count> floor_endio_counts(Workers)
{
	constexpr u32 kFirstOfLastBucket = 29;
	u64 in_last_bucket = 0;
	for (u32 slot = kFirstOfLastBucket; slot < FLOOR_SLOTS; slot++)
		in_last_bucket += floor_bios.latencies[kRead][1][slot];
	return counts_of({
		.reads = floor_bios.counts[kRead],
		.pages = floor_bios.pages[kRead],
		.in_last_bucket = in_last_bucket,
		.of_one_page = floor_bios.read_sizes[0],
		.time = floor_bios.total_times[2 + kRead],
	});
}

/* The row of the product and that of its floor have the same name and workers. */
constexpr Pair pair(const char *name, void (*prepare)(Worker &worker),
		    void (*call)(Worker &worker, unsigned int times),
		    std::vector<Count> (*counts)(Workers workers),
		    void (*floor_call)(Worker &worker, unsigned int times),
		    std::vector<Count> (*floor_counts)(Workers workers))
{
	return {
		.zem = {.name = name, .call = call, .prepare = prepare, .counts = counts},
		.floor = {.name = name,
			  .call = floor_call,
			  .prepare = prepare,
			  .counts = floor_counts},
	};
}

const Pair rows[] = {
	pair("read_hook/one_uid", with_one_uid, call_rchar, reads, call_floor_rchar, floor_reads),
	pair("read_hook/uid_each", with_own_uid, call_rchar, reads, call_floor_rchar, floor_reads),
	pair("write_hook/one_uid", with_one_uid, call_wchar, writes, call_floor_wchar,
	     floor_writes),
	pair("write_hook/uid_each", with_own_uid, call_wchar, writes, call_floor_wchar,
	     floor_writes),
	pair("uid_state/one_uid", with_one_uid, call_uid_state, answers, call_floor_uid_state,
	     answers),
	pair("bio_submit/one_uid", with_one_uid, call_submit, submissions, call_floor_submit,
	     floor_submissions),
	pair("bio_end/one_disk", with_bio, call_endio, endio_counts, call_floor_endio,
	     floor_endio_counts),
};

} /* namespace */

void load_io()
{
	zem::uid_table_init();
	zem::DeviceNumbers::set(0, kDevice);
	floor_track(kDevice);
}

std::span<const Pair> io_rows()
{
	return rows;
}

} /* namespace scale */
