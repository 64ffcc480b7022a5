// SPDX-License-Identifier: GPL-2.0
/* The IO snapshot: offsets, sums, and values that cover only the last interval. */
#include <cstring>

#include "host/io_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

/* The buckets that report a slot. */
std::vector<size_t> buckets_of(u32 slot)
{
	if (slot <= 19)
		return {0};
	if (slot <= 23)
		return {1};
	switch (slot) {
	case 24:
	case 25:
		return {2};
	case 26:
		return {};
	case 27:
		return {3};
	case 28:
		return {4};
	case 29:
		return {5, 6};
	default:
		return {6};
	}
}

/* Offset in a device's block, by direction and class. */
constexpr size_t kRecord[2][2] = {{88, 128}, {168, 208}};
constexpr size_t kFgBios = 3160;
constexpr size_t kBgBios = 3168;

} /* namespace */

class Folds : public IoTest {
protected:
	explicit Folds(const sim::Options &options = {}) : IoTest(options) {}

	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		snapshot() = {};
	}

	/* Counts @times bios by device, direction, class and slot. */
	void count(size_t device, u32 direction, u32 bio_class, u32 slot, u32 times)
	{
		counters().b_q2c[device][direction][bio_class][slot] = times;
	}
};

class FoldsOfNineCpus : public Folds {
protected:
	FoldsOfNineCpus() : Folds({.cpus = 9}) {}
};

class FoldedSlots : public Folds, public ::testing::WithParamInterface<u32> {};

TEST_P(FoldedSlots, are_reported_in_their_buckets_and_in_the_total_of_their_class)
{
	const u32 slot = GetParam();
	u32 times = 1;
	Image expected;
	u64 totals[2] = {0, 0};
	for (size_t device = 0; device < kDevices; device++)
		for (u32 direction = 0; direction < 2; direction++)
			for (u32 bio_class = 0; bio_class < 2; bio_class++) {
				count(device, direction, bio_class, slot, times);
				for (const size_t bucket : buckets_of(slot)) {
					expected.put32(8 + 248 * device +
							       kRecord[direction][bio_class] +
							       4 * bucket,
						       times);
					totals[bio_class] += times;
				}
				times *= 2;
			}
	expected.put64(kFgBios, totals[0]);
	expected.put64(kBgBios, totals[1]);
	EXPECT_THAT(expected.differences(collect()), IsEmpty());
	EXPECT_EQ(counted_latencies(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Snapshot, FoldedSlots, ::testing::Range(0u, 40u));

TEST_F(FoldsOfNineCpus, are_the_sums_of_all)
{
	for (unsigned int cpu = 0; cpu < 9; cpu++) {
		kernel.move_to_cpu(cpu);
		complete({.latency = 1 << 22, .pages = 1});
		complete({.operation = kWriteBio | kSyncFlag, .latency = 1 << 27, .pages = 3});
		complete({.operation = kWriteBio, .latency = 1 << 28, .in_foreground = true});
	}
	const zem_kio kio = collect();
	EXPECT_THAT(kio.devices[0].read_bg.buckets, ElementsAre(0, 9, 0, 0, 0, 0, 0));
	EXPECT_THAT(kio.devices[0].write_bg.buckets, ElementsAre(0, 0, 9, 0, 0, 0, 0));
	EXPECT_THAT(kio.devices[0].write_fg.buckets, ElementsAre(0, 0, 0, 0, 9, 0, 0));
	EXPECT_EQ(kio.bg_bios, 18U);
	EXPECT_EQ(kio.fg_bios, 9U);
	EXPECT_EQ(kio.read_bios, 9U);
	EXPECT_EQ(kio.write_sync_bios, 9U);
	EXPECT_EQ(kio.write_sync_pages, 27U);
	EXPECT_EQ(kio.write_async_bios, 9U);
	EXPECT_EQ(kio.devices[0].read_bg.total_time, 9 * 41U);
	EXPECT_EQ(kio.devices[0].write_fg.total_time, 9 * 2684U);
	EXPECT_EQ(kio.read_sizes[0], 9U);
}

TEST_F(FoldsOfNineCpus, are_of_eight_sets_and_the_ninth_cpu_shares_the_first)
{
	for (unsigned int cpu = 1; cpu < 8; cpu++) {
		kernel.move_to_cpu(cpu);
		complete({.latency = 1 << 22});
	}
	EXPECT_EQ(counted_latencies(), 0U);
	kernel.move_to_cpu(8);
	complete({.latency = 1 << 22});
	EXPECT_EQ(counted_latencies(), 1U);
	EXPECT_EQ(collect().read_bios, 8U);
}

/* The fold reads two slots together. */
TEST_F(Folds, bios_in_either_of_two_neighbouring_slots_are_found)
{
	count(0, 0, 1, 22, 5);
	EXPECT_EQ(collect().devices[0].read_bg.buckets[1], 5U);
	count(0, 0, 1, 23, 7);
	EXPECT_EQ(collect().devices[0].read_bg.buckets[1], 12U);
}

TEST_F(Folds, slot_26_is_in_the_sums_and_in_no_bucket)
{
	complete({.latency = 1 << 26});
	const zem_kio kio = collect();
	EXPECT_THAT(kio.devices[0].read_bg.buckets, Each(0U));
	EXPECT_EQ(kio.bg_bios, 0U);
	EXPECT_EQ(kio.read_bios, 1U);
	EXPECT_EQ(kio.read_pages, 1U);
	EXPECT_EQ(kio.devices[0].read_bg.total_time, 671U);
}

TEST_F(Folds, slot_29_is_two_of_its_class)
{
	complete({.operation = kWriteBio, .latency = 1 << 29, .in_foreground = true});
	const zem_kio kio = collect();
	EXPECT_THAT(kio.devices[0].write_fg.buckets, ElementsAre(0, 0, 0, 0, 0, 1, 1));
	EXPECT_EQ(kio.fg_bios, 2U);
	EXPECT_EQ(kio.write_async_bios, 1U);
}

TEST_F(Folds, counts_add_up_and_times_and_read_sizes_are_of_the_last_interval)
{
	complete({.latency = 300'000, .pages = 2});
	complete({.operation = kWriteBio | kSyncFlag, .latency = 500'000});
	static_cast<void>(collect());
	complete({.latency = 700'000, .pages = 2});
	zem_kio kio = collect();
	EXPECT_EQ(kio.devices[0].read_bg.buckets[0], 2U);
	EXPECT_EQ(kio.devices[0].write_bg.buckets[0], 1U);
	EXPECT_EQ(kio.bg_bios, 3U);
	EXPECT_EQ(kio.read_bios, 2U);
	EXPECT_EQ(kio.read_pages, 4U);
	EXPECT_EQ(kio.write_sync_bios, 1U);
	EXPECT_EQ(kio.write_sync_pages, 1U);
	EXPECT_THAT(kio.read_sizes, ElementsAre(0U, 1U, 0U, 0U));
	EXPECT_EQ(kio.devices[0].read_bg.total_time, 3U);
	EXPECT_EQ(kio.devices[0].write_bg.total_time, 0U);

	kio = collect();
	EXPECT_EQ(kio.devices[0].read_bg.buckets[0], 2U);
	EXPECT_EQ(kio.read_bios, 2U);
	EXPECT_THAT(kio.read_sizes, Each(0U));
	EXPECT_EQ(kio.devices[0].read_bg.total_time, 0U);
}

TEST_F(Folds, time_of_a_class_and_direction_stands_with_every_device)
{
	complete({.device = 2, .latency = 300'000});
	const zem_kio kio = collect();
	for (const zem_io_device &device : kio.devices) {
		EXPECT_EQ(device.read_bg.total_time, 3U);
		EXPECT_EQ(device.read_fg.total_time, 0U);
		EXPECT_EQ(device.write_bg.total_time, 0U);
	}
}

TEST_F(Folds, bio_that_completes_during_the_fold_is_in_the_next)
{
	kernel.faults.at("gather_long_iowait_file", [this] { complete({.latency = 1 << 21}); });
	EXPECT_EQ(collect().read_bios, 0U);
	EXPECT_EQ(collect().read_bios, 1U);
}

TEST_F(Folds, buckets_wrap_at_32_bits)
{
	snapshot().devices[3].write_bg.buckets[1] = 0xffffffff;
	snapshot().bg_bios = 0xffffffff;
	count(3, 1, 1, 20, 2);
	const zem_kio kio = collect();
	EXPECT_EQ(kio.devices[3].write_bg.buckets[1], 1U);
	EXPECT_EQ(kio.bg_bios, 0x100000001u);
}

class WholeSnapshot : public IoTest {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		app = &kernel.platform.make_task({.pid = 500, .uid = 10050});
		submit(10050);
		kernel.blocks.set_long_iowaits(
			[](void *kio) { memset(static_cast<zem_kio *>(kio)->tail, 0x5a, 680); });
		static_cast<void>(collect());
		/* Removes what the baseline has left. */
		snapshot() = {};
	}

	/* Fills every field that is ever written. */
	void do_io()
	{
		for (size_t i = 0; i < kDevices; i++) {
			bdev_stats &counted = device(i).counted[i];
			counted = {
				.ios = {10 * i + 1, 10 * i + 2},
				.merges = {10 * i + 3, 10 * i + 4},
				.sectors = {10 * i + 5, 10 * i + 6},
				.ns = {(10 * i + 7) * kMs, (10 * i + 8) * kMs},
				.io_ticks = 10 * i + 9,
			};
			complete({.device = i,
				  .operation = kReadBio,
				  .latency = 1 << 20,
				  .in_foreground = true});
			complete({.device = i,
				  .operation = kReadBio,
				  .latency = 1 << 24,
				  .pages = 2});
			complete({.device = i,
				  .operation = kWriteBio | kSyncFlag,
				  .latency = 1 << 27,
				  .in_foreground = true});
			complete({.device = i, .operation = kWriteBio, .latency = 1 << 28});
		}
		app->io.read_bytes = 4096;
		app->io.write_bytes = 8192;
		app->fields.in_iowait = true;
		as_uid(10050);
		kiocb dsync{.ki_flags = sim::kDsync};
		kernel.hooks.task_rchar(nullptr, app, 11);
		kernel.hooks.task_wchar(&dsync, app, 13);
		kernel.hooks.task_wchar(nullptr, app, 17);
		module.symbol<void(task_struct *, unsigned long long)>("record_uid_iowait")(app,
											    19);
		submit(10050);
		as_uid(0);
	}

	/* The first snapshot after do_io(). */
	[[nodiscard]] static Image expected()
	{
		Image image;
		for (size_t i = 0; i < kDevices; i++)
			expect_device(image, 8 + 248 * i, i);
		/* The first rank: UID, ten values, nine deltas, and the sum of bytes. */
		const u64 columns[] = {4096, 8192, 0, 0, 2, 0, 19, 13, 17, 1};
		const u64 deltas[] = {4096, 8192, 0, 0, 1, 0, 19, 13, 17};
		image.put32(1000, 10050);
		for (size_t k = 0; k < 10; k++)
			image.put64(1008 + 8 * k, columns[k]);
		for (size_t k = 0; k < 9; k++)
			image.put64(1088 + 8 * k, deltas[k]);
		image.put64(1168, 12288);
		image.put32(2920, 10050);
		image.put64(2928, 19);
		image.put64(2936, 19);
		const u64 sums[] = {8, 8, 8, 4, 4, 12, 4, 4};
		for (size_t k = 0; k < 8; k++)
			image.put64(3160 + 8 * k, sums[k]);
		image.put64(3224, 4);
		image.put64(3232, 4);
		const std::string tail(680, 0x5a);
		image.put(3256, tail.data(), tail.size());
		return image;
	}

	static void expect_device(Image &image, size_t at, u64 i)
	{
		const u64 statistics[] = {10 * i + 1, 10 * i + 3,	10 * i + 5, 10 * i + 7,
					  10 * i + 2, 10 * i + 4,	10 * i + 6, 10 * i + 8,
					  0,	      (10 * i + 9) * 4, 0};
		for (size_t k = 0; k < 11; k++)
			image.put64(at + 8 * k, statistics[k]);
		struct Latency {
			size_t bucket;
			u64 time;
		};
		const Latency latencies[] = {{1, 40}, {1, 4 * 83}, {3, 4 * 1342}, {4, 4 * 2684}};
		for (size_t k = 0; k < 4; k++) {
			image.put32(at + 88 + 40 * k + 4 * latencies[k].bucket, 1);
			image.put64(at + 88 + 40 * k + 32, latencies[k].time);
		}
	}

	sim::Task *app = nullptr;
};

TEST_F(WholeSnapshot, has_every_byte_where_readers_look)
{
	do_io();
	EXPECT_THAT(expected().differences(collect()), IsEmpty());
}

TEST_F(WholeSnapshot, is_the_record_byte_for_byte)
{
	do_io();
	const std::vector<zem_kio> uploaded = upload();
	ASSERT_THAT(uploaded, SizeIs(1));
	EXPECT_THAT(expected().differences(uploaded[0]), IsEmpty());
}

TEST_F(WholeSnapshot, is_cleared_whole_by_the_upload)
{
	do_io();
	EXPECT_THAT(upload(), SizeIs(1));
	EXPECT_THAT(Image().differences(snapshot()), IsEmpty());
}

TEST_F(WholeSnapshot, is_cleared_though_its_record_was_refused)
{
	do_io();
	kernel.faults.fail("ring_buffer_lock_reserve");
	EXPECT_THAT(upload(), IsEmpty());
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:3968\n")}));
	EXPECT_THAT(Image().differences(snapshot()), IsEmpty());
}

TEST_F(WholeSnapshot, is_not_cleared_by_who_only_looks_at_it)
{
	do_io();
	static_cast<void>(collect());
	const zem_kio kio = collect();
	Image image = expected();
	/* The last interval was empty. */
	for (size_t device = 0; device < kDevices; device++)
		for (size_t k = 0; k < 4; k++)
			image.put64(8 + 248 * device + 88 + 40 * k + 32, 0);
	for (size_t k = 0; k < 9; k++)
		image.put64(1088 + 8 * k, 0);
	image.put64(1168, 0);
	image.put64(2936, 0);
	image.put64(3224, 0);
	image.put64(3232, 0);
	EXPECT_THAT(image.differences(kio), IsEmpty());
}

TEST_F(WholeSnapshot, second_record_has_what_came_since_and_the_disks_totals)
{
	do_io();
	EXPECT_THAT(upload(), SizeIs(1));
	complete({.device = 1, .latency = 1 << 20});
	const std::vector<zem_kio> uploaded = upload();
	ASSERT_THAT(uploaded, SizeIs(1));
	EXPECT_EQ(uploaded[0].devices[3].disk.rd_ios, 31U);
	EXPECT_EQ(uploaded[0].read_bios, 1U);
	EXPECT_EQ(uploaded[0].bg_bios, 1U);
	EXPECT_EQ(uploaded[0].fg_bios, 0U);
	EXPECT_EQ(uploaded[0].io_top[0].value.frb, 4096U);
	EXPECT_EQ(uploaded[0].io_top[0].delta_total, 0U);
}

TEST_F(WholeSnapshot, is_gathered_in_order)
{
	do_io();
	const zem_kio *whole = &snapshot();
	std::vector<std::string> order;
	kernel.faults.at("part_stat_read", [&] { order.emplace_back("disks"); });
	kernel.faults.at("next_task", [&] { order.emplace_back("uids"); });
	kernel.blocks.set_long_iowaits([&](void *kio) {
		/* The tail is filled last. */
		EXPECT_EQ(static_cast<zem_kio *>(kio)->read_bios, 8U);
		EXPECT_EQ(kio, whole);
		order.emplace_back("tail");
	});
	static_cast<void>(collect());
	EXPECT_THAT(order, ElementsAre("disks", "uids", "tail"));
}

TEST_F(WholeSnapshot, is_none_while_the_indicators_are_off)
{
	do_io();
	static_cast<void>(collect());
	switch_io_indicators(0);
	const zem_kio before = snapshot();
	device(0).counted[0].ios[0] = 999;
	app->io.read_bytes = 1 << 20;
	kernel.blocks.set_long_iowaits([](void *) { FAIL() << "nobody is to be asked"; });
	EXPECT_EQ(module.symbol<void *()>("get_all_kioind")(), nullptr);
	EXPECT_THAT(upload(), IsEmpty());
	EXPECT_EQ(memcmp(&before, &snapshot(), sizeof(before)), 0);
}

TEST_F(WholeSnapshot, exported_function_gives_the_block_itself)
{
	EXPECT_EQ(module.symbol<void *()>("get_all_kioind")(), &snapshot());
	EXPECT_EQ(module.symbol<void *()>("get_all_kioind")(), &snapshot());
}

TEST_F(WholeSnapshot, two_that_want_it_take_turns)
{
	do_io();
	std::unique_ptr<sim::Thread> other;
	kernel.faults.at("gather_long_iowait_file", [&] {
		other = std::make_unique<sim::Thread>(
			kernel.spawn("other", [this] { EXPECT_EQ(store("trigger", "1"), 1); }));
		kernel.run_until_idle();
		EXPECT_FALSE(other->ended());
	});
	EXPECT_THAT(expected().differences(collect()), IsEmpty());
	other->join();
}

} /* namespace test */
