// SPDX-License-Identifier: GPL-2.0
/* The search for the four disks, and their statistics. */
#include <cerrno>
#include <cstring>

#include "host/io_fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Disks : public IoTest {
protected:
	ssize_t look() { return kernel.sysfs.write("kioind/show1_diskstats", "whatever"); }

	static void append_missing(LogLines &lines, const char *path)
	{
		lines.push_back(sim::err(std::string("Block device ") + path + " not found"));
		lines.push_back(sim::err(std::string("zem Block device ") + path + " not found"));
	}

	/* Determines by counted bios which disks are known. */
	[[nodiscard]] std::vector<bool> known()
	{
		std::vector<bool> found;
		for (size_t i = 0; i < kDevices; i++) {
			const u32 before = counted_latencies();
			bio done{.device = disks[i], .issue = 1 | 1ull << 54};
			kernel.hooks.blk_bio_endio_record_bi_issue(&done);
			found.push_back(counted_latencies() != before);
		}
		return found;
	}

	const LogLines looked{sim::info("kioind_save_dev ")};
	std::array<block_device *, kDevices> disks{&kernel.blocks.at(kPaths[0]),
						   &kernel.blocks.at(kPaths[1]),
						   &kernel.blocks.at(kPaths[2]),
						   &kernel.blocks.at(kPaths[3])};
};

TEST_F(Disks, are_not_looked_for_until_somebody_asks)
{
	EXPECT_THAT(known(), Each(false));
	EXPECT_THAT(upload(), ::testing::SizeIs(1));
	EXPECT_THAT(known(), Each(true));
	EXPECT_EQ(log(), looked);
}

TEST_F(Disks, once_found_are_not_looked_for_again)
{
	EXPECT_EQ(look(), 8);
	EXPECT_EQ(log(), looked);
	kernel.blocks.unlink(kPaths[0]);
	EXPECT_EQ(look(), 8);
	EXPECT_EQ(store("trigger", "1"), 1);
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_THAT(known(), Each(true));
}

TEST_F(Disks, missing_one_is_logged_twice_and_the_others_are_found)
{
	kernel.blocks.unlink(kPaths[1]);
	kernel.blocks.unlink(kPaths[3]);
	look();
	LogLines expected = looked;
	append_missing(expected, kPaths[1]);
	append_missing(expected, kPaths[3]);
	EXPECT_EQ(log(), expected);
	EXPECT_THAT(known(), ElementsAre(true, false, true, false));
}

TEST_F(Disks, all_four_are_looked_for_again_while_one_is_missing)
{
	kernel.blocks.unlink(kPaths[0]);
	look();
	LogLines expected = looked;
	append_missing(expected, kPaths[0]);
	EXPECT_EQ(log(), expected);

	/* A disk that was found has got another number meanwhile. */
	block_device &moved = kernel.blocks.add(kPaths[2], 7, 9, "loop9");
	look();
	EXPECT_EQ(log(), expected);
	EXPECT_THAT(known(), ElementsAre(false, true, false, true));
	disks[2] = &moved;
	EXPECT_THAT(known(), ElementsAre(false, true, true, true));

	kernel.blocks.link(kPaths[0], disks[0]->number);
	look();
	EXPECT_EQ(log(), looked);
	EXPECT_THAT(known(), Each(true));
	look();
	EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Disks, one_that_is_missing_now_keeps_what_was_found_before)
{
	kernel.blocks.unlink(kPaths[0]);
	look();
	kernel.blocks.unlink(kPaths[1]);
	look();
	EXPECT_EQ(log().size(), 3U + 5U);
	EXPECT_THAT(known(), ElementsAre(false, true, true, true));
}

TEST_F(Disks, path_with_no_device_behind_is_not_looked_for_again)
{
	kernel.blocks.link(kPaths[2], sim::Blocks::number(1, 1));
	look();
	EXPECT_EQ(log(), looked);
	EXPECT_THAT(known(), ElementsAre(true, true, false, true));
	kernel.blocks.link(kPaths[2], disks[2]->number);
	look();
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_THAT(known(), ElementsAre(true, true, false, true));
}

TEST_F(Disks, device_that_is_gone_when_it_is_wanted_keeps_the_row_as_it_was)
{
	kernel.faults.fail("blkdev_get_no_open", 4);
	look();
	EXPECT_EQ(log(), looked);
	EXPECT_THAT(known(), ElementsAre(true, true, true, false));
}

TEST_F(Disks, row_that_was_found_keeps_its_device_when_there_is_none_any_more)
{
	kernel.blocks.unlink(kPaths[0]);
	look();
	disks[2]->counted[0].ios[0] = 7;
	kernel.blocks.link(kPaths[2], sim::Blocks::number(1, 1));
	look();
	EXPECT_EQ(log().size(), 6U);
	EXPECT_THAT(known(), ElementsAre(false, true, true, true));
	EXPECT_EQ(collect().devices[2].disk.rd_ios, 7U);
	EXPECT_THAT(view("show1_diskstats"),
		    ::testing::HasSubstr(std::string(kPaths[2]) + "(259,10,"));
}

TEST_F(Disks, bio_of_a_disk_with_two_paths_counts_for_the_first_of_them)
{
	kernel.blocks.link(kPaths[2], disks[0]->number);
	look();
	EXPECT_EQ(log(), looked);
	complete({.device = 0});
	EXPECT_EQ(counters().b_q2c[0][0][1][20], 1U);
	EXPECT_EQ(counted_latencies(), 1U);
}

TEST_F(Disks, bio_without_a_device_is_of_no_disk_that_was_not_found)
{
	/* A row that was not found has number 0, like a missing device. */
	bio done = make_bio({.in_foreground = true});
	done.device = nullptr;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_EQ(done.flags, kForegroundMark);
}

TEST_F(Disks, bio_without_a_device_is_not_of_device_1)
{
	kernel.blocks.add(kPaths[0], 0, 1, "one");
	look();
	EXPECT_EQ(log(), looked);
	bio done = make_bio({.in_foreground = true});
	done.device = nullptr;
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	EXPECT_EQ(counted_latencies(), 0U);
	EXPECT_EQ(done.flags, kForegroundMark);
	EXPECT_FALSE(complete({.device = 0, .in_foreground = true}).flags);
	EXPECT_EQ(counted_latencies(), 1U);
}

TEST_F(Disks, are_put_immediately)
{
	look();
	EXPECT_EQ(kernel.blocks.references(), 0);
	EXPECT_EQ(log(), looked);
}

TEST_F(Disks, trigger_looks_for_them_even_while_trace_on_is_0)
{
	store("trace_on", "0");
	kernel.blocks.unlink(kPaths[0]);
	EXPECT_EQ(store("trigger", "1"), 1);
	LogLines expected{sim::info("trace_on disable\n")};
	expected.insert(expected.end(), looked.begin(), looked.end());
	append_missing(expected, kPaths[0]);
	EXPECT_EQ(log(), expected);
}

TEST_F(Disks, trigger_that_is_refused_does_not_look)
{
	EXPECT_EQ(store("trigger", "abc"), -EINVAL);
	EXPECT_THAT(known(), Each(false));
}

TEST_F(Disks, concurrent_lookups_are_serialised)
{
	std::unique_ptr<sim::Thread> other;
	kernel.faults.at("lookup_bdev", [&] {
		other = std::make_unique<sim::Thread>(kernel.spawn("other", [this] { look(); }));
		kernel.run_until_idle();
		EXPECT_FALSE(other->ended());
	});
	look();
	other->join();
	EXPECT_EQ(log(), looked);
}

TEST_F(Disks, have_the_sum_of_all_possible_cpus)
{
	find_devices();
	for (unsigned int cpu = 0; cpu < 8; cpu++) {
		const u64 base = 1 + cpu;
		disks[1]->counted[cpu] = {
			.ios = {base, 10 * base},
			.merges = {100 * base, 1000 * base},
			.sectors = {2 * base, 20 * base},
			.ns = {1'000'000 * base, 3'000'000 * base},
			.io_ticks = base,
		};
	}
	const zem_io_disk disk = collect().devices[1].disk;
	EXPECT_EQ(disk.rd_ios, 36U);
	EXPECT_EQ(disk.wr_ios, 360U);
	EXPECT_EQ(disk.rd_merges, 3600U);
	EXPECT_EQ(disk.wr_merges, 36000U);
	EXPECT_EQ(disk.rd_sectors, 72U);
	EXPECT_EQ(disk.wr_sectors, 720U);
	EXPECT_EQ(disk.rd_ticks, 36U);
	EXPECT_EQ(disk.wr_ticks, 108U);
	EXPECT_EQ(disk.in_flight, 0U);
	EXPECT_EQ(disk.io_ticks, 36U * 4);
	EXPECT_EQ(disk.time_in_queue, 0U);
}

TEST_F(Disks, times_are_whole_ms_cut_to_32_bits_and_counts_are_not)
{
	find_devices();
	constexpr u64 kWide = (5ull << 32) + 7;
	disks[0]->counted[3] = {
		.ios = {kWide, kWide},
		.merges = {kWide, kWide},
		.sectors = {kWide, kWide},
		.ns = {kWide * 1'000'000 + 999'999, 1'999'999},
		.io_ticks = (1ull << 30) + 2,
	};
	const zem_io_disk disk = collect().devices[0].disk;
	EXPECT_EQ(disk.rd_ios, kWide);
	EXPECT_EQ(disk.wr_merges, kWide);
	EXPECT_EQ(disk.wr_sectors, kWide);
	EXPECT_EQ(disk.rd_ticks, 7U);
	EXPECT_EQ(disk.wr_ticks, 1U);
	EXPECT_EQ(disk.io_ticks, 8U);
}

TEST_F(Disks, in_flight_is_always_0_and_time_in_queue_is_not_written)
{
	find_devices();
	snapshot().devices[2].disk.in_flight = 5;
	snapshot().devices[2].disk.time_in_queue = 6;
	const zem_io_disk disk = collect().devices[2].disk;
	EXPECT_EQ(disk.in_flight, 0U);
	EXPECT_EQ(disk.time_in_queue, 6U);
}

TEST_F(Disks, that_were_not_found_are_not_updated)
{
	kernel.blocks.unlink(kPaths[0]);
	look();
	EXPECT_EQ(log().size(), 3U);
	snapshot().devices[0].disk.rd_ios = 77;
	disks[0]->counted[0].ios[0] = 5;
	disks[1]->counted[0].ios[0] = 6;
	const zem_kio kio = collect();
	EXPECT_EQ(kio.devices[0].disk.rd_ios, 77U);
	EXPECT_EQ(kio.devices[1].disk.rd_ios, 6U);
}

class DisksOfFewCpus : public IoTest {
protected:
	DisksOfFewCpus() : IoTest({.cpus = 4, .absent_cpus = {2}}) {}
};

TEST_F(DisksOfFewCpus, have_nothing_of_cpus_that_are_not_possible)
{
	find_devices();
	for (unsigned int cpu = 0; cpu < 8; cpu++)
		device(0).counted[cpu].ios[0] = 1 << cpu;
	EXPECT_EQ(collect().devices[0].disk.rd_ios, 1U + 2U + 8U);
}

TEST_F(Disks, path_can_be_asked_about)
{
	const auto get_hd_struct = inside().device_number;
	u32 number = 0;
	EXPECT_EQ(get_hd_struct(kPaths[1], &number), 0);
	EXPECT_NE(number, 0U);
	EXPECT_THAT(log(), IsEmpty());
	EXPECT_LT(get_hd_struct("/dev/block/nothing", &number), 0);
	EXPECT_EQ(log(), LogLines({sim::err("Block device /dev/block/nothing not found")}));
	EXPECT_THAT(known(), Each(false));
}

} /* namespace test */
