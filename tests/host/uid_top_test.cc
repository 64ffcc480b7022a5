// SPDX-License-Identifier: GPL-2.0
/* The ten UIDs with the most IO and with the most IO wait: selection, order, unused ranks. */
#include <algorithm>

#include "host/io_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UidTop : public IoTest {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		snapshot() = {};
	}

	/* Creates apps from UID 10000 on, each with a process, in the order of the table. */
	void meet(size_t count)
	{
		for (u32 uid = 10000; uid < 10000 + count; uid++) {
			add(uid);
			set(std::to_string(uid) + " 0");
		}
		std::ranges::sort(uids, {}, [](u32 uid) { return bucket(uid); });
		static_cast<void>(collect());
	}

	void add(u32 uid)
	{
		uids.push_back(uid);
		tasks[uid] = &kernel.platform.make_task({.pid = static_cast<int>(uid), .uid = uid});
		tasks[uid]->fields.in_iowait = true;
	}

	[[nodiscard]] static u32 bucket(u32 uid) { return uid * 0x61c88647u >> 22; }

	/* Makes the app with that index in the order read more. */
	void read(size_t place, u64 bytes) { tasks.at(uids.at(place))->io.read_bytes += bytes; }

	void wait(size_t place, u64 ns)
	{
		module.symbol<void(task_struct *, unsigned long long)>(
			"record_uid_iowait")(tasks.at(uids.at(place)), ns);
	}

	/* Returns the apps' indices in the order of ranks; -1 for a rank that was never used. */
	template <typename Rank>
	[[nodiscard]] std::vector<int> places(const Rank (&ranks)[10])
	{
		std::vector<int> found;
		for (const Rank &rank : ranks) {
			const auto at = std::ranges::find(uids, rank.uid);
			found.push_back(at == uids.end() ? -1 :
							   static_cast<int>(at - uids.begin()));
		}
		return found;
	}

	[[nodiscard]] std::vector<int> by_io() { return places(collect().io_top); }

	[[nodiscard]] static std::vector<u64> deltas(const zem_kio &kio)
	{
		std::vector<u64> found;
		for (const zem_io_top &top : kio.io_top)
			found.push_back(top.delta_total);
		return found;
	}

	std::vector<u32> uids;
	std::map<u32, sim::Task *> tasks;
};

TEST_F(UidTop, uid_takes_part_from_its_second_collection_on)
{
	add(10000);
	set("10000 0");
	read(0, 5);
	EXPECT_THAT(by_io(), Each(-1));
	EXPECT_THAT(by_io(), ElementsAre(0, -1, -1, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_EQ(snapshot().io_top[0].value.frb, 5U);
	EXPECT_EQ(snapshot().io_top[0].delta_total, 0U);
}

TEST_F(UidTop, fewer_than_ten_are_sorted_and_the_other_ranks_left)
{
	meet(3);
	read(0, 10);
	read(1, 30);
	read(2, 20);
	EXPECT_THAT(by_io(), ElementsAre(1, 2, 0, -1, -1, -1, -1, -1, -1, -1));
}

TEST_F(UidTop, ten_of_more_are_those_with_most)
{
	meet(14);
	const u64 bytes[] = {5, 140, 20, 130, 40, 120, 60, 110, 80, 100, 90, 105, 70, 7};
	for (size_t i = 0; i < 14; i++)
		read(i, bytes[i]);
	EXPECT_THAT(by_io(), ElementsAre(1, 3, 5, 7, 11, 9, 10, 8, 12, 6));
	EXPECT_THAT(deltas(snapshot()), ElementsAre(140, 130, 120, 110, 105, 100, 90, 80, 70, 60));
}

TEST_F(UidTop, equal_ones_stay_in_the_order_of_their_visits)
{
	meet(12);
	EXPECT_THAT(by_io(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
	for (size_t i = 0; i < 12; i++)
		read(i, 7);
	EXPECT_THAT(by_io(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(UidTop, item_equal_to_the_smallest_is_not_taken)
{
	meet(12);
	for (size_t i = 0; i < 10; i++)
		read(i, 10 + i);
	read(10, 10);
	EXPECT_THAT(by_io(), ElementsAre(9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
}

TEST_F(UidTop, larger_ones_take_the_place_of_the_smallest_one_after_another)
{
	meet(13);
	/* The first of the two smallest is replaced first. */
	const u64 bytes[] = {50, 10, 50, 10, 50, 50, 50, 50, 50, 50, 30, 20, 15};
	for (size_t i = 0; i < 13; i++)
		read(i, bytes[i]);
	EXPECT_THAT(by_io(), ElementsAre(0, 2, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(UidTop, place_that_was_taken_stays_the_smallest_among_equal_ones)
{
	meet(13);
	/* Index 5 is replaced by 20, which then equals index 2, so it is replaced again. */
	const u64 bytes[] = {90, 90, 20, 90, 90, 10, 90, 90, 90, 90, 20, 91, 92};
	for (size_t i = 0; i < 13; i++)
		read(i, bytes[i]);
	/* 11 is in the place of 5, then 12 in that of 2. */
	EXPECT_THAT(by_io(), ElementsAre(12, 11, 0, 1, 3, 4, 6, 7, 8, 9));
	for (size_t i = 0; i < 13; i++)
		read(i, i == 12 ? 5 : bytes[i]);
	EXPECT_THAT(by_io(), ElementsAre(11, 0, 1, 3, 4, 6, 7, 8, 9, 2))
		<< "10 was the one that went";
}

TEST_F(UidTop, first_smallest_place_is_the_first_of_equal_ones)
{
	meet(11);
	const u64 bytes[] = {90, 90, 20, 90, 20, 90, 90, 90, 90, 90, 21};
	for (size_t i = 0; i < 11; i++)
		read(i, bytes[i]);
	EXPECT_THAT(by_io(), ElementsAre(0, 1, 3, 5, 6, 7, 8, 9, 10, 4));
}

TEST_F(UidTop, smallest_place_moves_only_to_a_smaller_one)
{
	meet(12);
	/* The sixth is replaced first, and then the earlier one of the two smallest. */
	const u64 bytes[] = {50, 20, 50, 20, 50, 10, 50, 50, 50, 50, 60, 21};
	for (size_t i = 0; i < 12; i++)
		read(i, bytes[i]);
	EXPECT_THAT(by_io(), ElementsAre(10, 0, 2, 4, 6, 7, 8, 9, 11, 3));
}

TEST_F(UidTop, smallest_place_of_one_collection_is_forgotten_for_the_next)
{
	meet(11);
	const u64 first[] = {1, 2, 2, 3, 1, 1, 1, 1, 1, 1, 2};
	for (size_t i = 0; i < 11; i++)
		read(i, first[i]);
	static_cast<void>(collect());
	const u64 second[] = {14, 1, 5, 11, 6, 8, 10, 12, 9, 2, 4};
	for (size_t i = 0; i < 11; i++)
		read(i, second[i]);
	EXPECT_THAT(by_io(), ElementsAre(0, 7, 3, 6, 8, 5, 4, 2, 10, 9));
}

TEST_F(UidTop, lists_of_io_and_of_iowait_are_apart)
{
	meet(11);
	for (size_t i = 0; i < 11; i++) {
		read(i, 100 + i);
		wait(i, 1000 - i);
	}
	wait(10, 5000);
	const zem_kio kio = collect();
	EXPECT_THAT(places(kio.io_top), ElementsAre(10, 9, 8, 7, 6, 5, 4, 3, 2, 1));
	EXPECT_THAT(places(kio.iowait_top), ElementsAre(10, 0, 1, 2, 3, 4, 5, 6, 7, 8));
	EXPECT_EQ(kio.iowait_top[0].iowait, 5990U);
	EXPECT_EQ(kio.iowait_top[0].delta_iowait, 5990U);
	EXPECT_EQ(kio.iowait_top[1].iowait, 1000U);
	EXPECT_EQ(kio.iowait_top[0].reserved, 0U);
}

TEST_F(UidTop, key_is_the_bytes_of_both_states_and_nothing_else)
{
	meet(3);
	tasks.at(uids[0])->io.read_bytes = 10;
	tasks.at(uids[0])->io.write_bytes = 20;
	set(std::to_string(uids[0]) + " 1");
	tasks.at(uids[0])->io.read_bytes = 40;
	tasks.at(uids[0])->io.write_bytes = 60;
	as_uid(uids[1]);
	kernel.hooks.task_rchar(nullptr, nullptr, 1 << 20);
	kernel.hooks.task_wchar(nullptr, nullptr, 1 << 20);
	tasks.at(uids[2])->io.read_bytes = 99;
	const zem_kio kio = collect();
	EXPECT_THAT(places(kio.io_top), ElementsAre(0, 2, 1, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_EQ(kio.io_top[0].delta_total, 100U);
	EXPECT_EQ(kio.io_top[0].delta.frb, 10U);
	EXPECT_EQ(kio.io_top[0].delta.fwb, 20U);
	EXPECT_EQ(kio.io_top[0].delta.brb, 30U);
	EXPECT_EQ(kio.io_top[0].delta.bwb, 40U);
	EXPECT_EQ(kio.io_top[2].delta_total, 0U);
}

TEST_F(UidTop, columns_keep_their_totals_and_increases_are_of_the_interval)
{
	meet(1);
	as_uid(uids[0]);
	for (u64 round = 1; round <= 3; round++) {
		read(0, 10 * round);
		wait(0, 100 * round);
		submit(uids[0]);
		kernel.hooks.task_rchar(nullptr, nullptr, 5);
		const zem_io_top top = collect().io_top[0];
		EXPECT_EQ(top.value.frb, 5 * round * (round + 1));
		EXPECT_EQ(top.delta.frb, 10 * round);
		EXPECT_EQ(top.value.iowait, 50 * round * (round + 1));
		EXPECT_EQ(top.delta.iowait, 100 * round);
		EXPECT_EQ(top.value.fbc, round);
		EXPECT_EQ(top.delta.fbc, 1U);
		EXPECT_EQ(top.read_calls, round);
	}
}

TEST_F(UidTop, ranks_beyond_those_that_there_are_keep_what_they_had)
{
	meet(3);
	for (size_t i = 0; i < 3; i++) {
		read(i, 30 - i);
		wait(i, 30 - i);
	}
	static_cast<void>(collect());
	const std::string second = std::to_string(uids[1]);
	forget(second + "-" + second);
	read(0, 1);
	read(2, 2);
	const zem_kio kio = collect();
	EXPECT_THAT(places(kio.io_top), ElementsAre(2, 0, 2, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_THAT(deltas(kio), ElementsAre(2, 1, 28, 0, 0, 0, 0, 0, 0, 0));
	EXPECT_EQ(kio.iowait_top[2].iowait, 28U);
	EXPECT_EQ(kio.iowait_top[2].delta_iowait, 28U);
}

TEST_F(UidTop, uid_that_was_forgotten_starts_again_from_0)
{
	meet(1);
	read(0, 1000);
	static_cast<void>(collect());
	forget("0-20000");
	static_cast<void>(submit(uids[0]));
	snapshot() = {};
	EXPECT_THAT(by_io(), Each(-1)) << "it is met for the first time";
	read(0, 5);
	EXPECT_THAT(by_io(), ElementsAre(0, -1, -1, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_EQ(snapshot().io_top[0].value.frb, 1005U) << "its tasks have not forgotten";
	EXPECT_EQ(snapshot().io_top[0].delta.frb, 5U);
	EXPECT_EQ(snapshot().io_top[0].value.fbc, 1U);
}

TEST_F(UidTop, uid_that_is_met_during_the_walk_waits_for_the_next_collection)
{
	add(10000);
	read(0, 1000);
	/* The walk has passed the only process. */
	kernel.faults.at(
		"next_task",
		[this] {
			kernel.scheduler.meanwhile_on_cpu(1, [this] {
				static_cast<void>(submit(10000));
			});
		},
		2);
	EXPECT_THAT(by_io(), Each(-1));
	EXPECT_THAT(by_io(), Each(-1)) << "its baseline";
	read(0, 5);
	EXPECT_THAT(by_io(), ElementsAre(0, -1, -1, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_EQ(snapshot().io_top[0].value.frb, 1005U);
	EXPECT_EQ(snapshot().io_top[0].delta_total, 5U);
}

TEST_F(UidTop, key_is_unsigned_and_the_largest_is_first)
{
	meet(3);
	read(0, (1ull << 63) - 1);
	read(1, 5);
	read(2, 1ull << 62);
	EXPECT_THAT(by_io(), ElementsAre(0, 2, 1, -1, -1, -1, -1, -1, -1, -1));

	/* Exceeds a signed number in several columns. */
	read(0, 9);
	read(1, (1ull << 63) - 1);
	tasks.at(uids[1])->io.write_bytes += 2;
	read(2, 8);
	wait(0, 1ull << 63);
	wait(1, 7);
	wait(2, (1ull << 63) - 1);
	const zem_kio kio = collect();
	EXPECT_THAT(places(kio.io_top), ElementsAre(1, 0, 2, -1, -1, -1, -1, -1, -1, -1));
	EXPECT_EQ(kio.io_top[0].delta_total, (1ull << 63) + 1);
	EXPECT_THAT(places(kio.iowait_top), ElementsAre(0, 2, 1, -1, -1, -1, -1, -1, -1, -1));
}

TEST_F(UidTop, largest_key_replaces_the_smallest_whichever_would_be_negative)
{
	meet(12);
	wait(0, 1ull << 63);
	for (size_t i = 1; i < 10; i++)
		wait(i, 10 * i);
	wait(10, ~0ull);
	wait(11, 25);
	EXPECT_THAT(places(collect().iowait_top), ElementsAre(10, 0, 9, 8, 7, 6, 5, 4, 3, 11));
}

TEST_F(UidTop, nobody_is_charged_while_the_indicators_are_off)
{
	meet(1);
	read(0, 10);
	switch_io_indicators(0);
	const unsigned long visits = kernel.io_visits.threads;
	static_cast<void>(view("show2_uid_io"));
	EXPECT_EQ(kernel.io_visits.threads, visits);
	switch_io_indicators(1);
	EXPECT_EQ(collect().io_top[0].delta_total, 10U);
}

TEST_F(UidTop, equal_ones_of_any_size_stay_in_the_order_of_their_buckets)
{
	for (const u32 uid : {10000u, 4000000011u, 4000000019u, 4000000032u, 10011u, 10012u}) {
		uids.push_back(uid);
		set(std::to_string(uid) + " 0");
	}
	std::ranges::sort(uids, {}, bucket);
	static_cast<void>(collect());
	EXPECT_THAT(by_io(), ElementsAre(0, 1, 2, 3, 4, 5, -1, -1, -1, -1));
}

TEST_F(UidTop, uids_of_one_bucket_are_visited_from_the_youngest_on)
{
	std::vector<u32> alike;
	for (u32 uid = 10000; alike.size() < 3; uid++)
		if (bucket(uid) == bucket(10000))
			alike.push_back(uid);
	for (const u32 uid : alike) {
		add(uid);
		set(std::to_string(uid) + " 0");
	}
	static_cast<void>(collect());
	for (const u32 uid : alike)
		tasks.at(uid)->io.read_bytes = 10;
	EXPECT_THAT(by_io(), ElementsAre(2, 1, 0, -1, -1, -1, -1, -1, -1, -1));
}

} /* namespace test */
