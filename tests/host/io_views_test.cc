// SPDX-License-Identifier: GPL-2.0
/* /sys/kioind: the exact texts of its three files. */
#include <cerrno>
#include <cstring>

#include "host/io_fixture.h"
#include "sim/format.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::Pair;

class IoViews : public IoTest {
protected:
	/* A snapshot with a different number in every field. It must not be updated. */
	void fill_snapshot()
	{
		switch_io_indicators(0);
		auto *words = reinterpret_cast<u32 *>(&snapshot());
		for (u32 i = 0; i < sizeof(zem_kio) / sizeof(u32); i++)
			words[i] = i % 2 == 0 ? 100'000 + i : 0;
		for (zem_io_device &device : snapshot().devices)
			for (zem_io_latency *record :
			     {&device.read_fg, &device.read_bg, &device.write_fg, &device.write_bg})
				for (u32 i = 0; i < 7; i++)
					record->buckets[i] = static_cast<u32>(
						reinterpret_cast<char *>(&record->buckets[i]) -
						reinterpret_cast<char *>(&snapshot()));
	}

	/* Fills every field with its largest value. */
	void fill_to_the_brim()
	{
		switch_io_indicators(0);
		memset(&snapshot(), 0xff, sizeof(zem_kio));
	}

	[[nodiscard]] static std::string header(std::array<const void *, kDevices> devices,
						bool found)
	{
		std::string text = "sizeof(struct kioind)=3936(Bytes), sizeof(u64)=8, "
				   "sizeof(unsigned long)=8, sizeof(unsigned int)=4, "
				   "sizeof(unsigned short)=2, sizeof(uid_t)=4, "
				   "sizeof(b_q2c)=2560\n\ndev(major, minor): ";
		static constexpr int kNumbers[][2] = {{8, 0}, {8, 64}, {259, 10}, {259, 0xfffff}};
		for (size_t i = 0; i < kDevices; i++)
			text += printed("%s(%d,%d,%s)%c", kPaths[i], found ? kNumbers[i][0] : 0,
					found ? kNumbers[i][1] : 0,
					sim::pointer_text(devices[i]).c_str(), i < 3 ? '|' : ' ');
		return text +
		       "\n\n/proc/diskstats: rd_ios       rd_merges    rd_sectors   rd_ticks     "
		       "wr_ios       wr_merges    wr_sectors   wr_ticks     in_flight    "
		       "io_ticks     time_in_queue\n";
	}

	[[nodiscard]] static std::string disk_line(const char *path, const zem_io_disk &disk)
	{
		u64 words[11];
		memcpy(words, &disk, sizeof(words));
		std::string text = printed("%15s: ", path);
		for (const u64 word : words)
			text += printed("%-13llu", word);
		return text + '\n';
	}

	[[nodiscard]] std::string disks_text(bool found)
	{
		std::array<const void *, kDevices> devices{};
		for (size_t i = 0; found && i < kDevices; i++)
			devices[i] = &device(i);
		std::string text = header(devices, found);
		for (size_t i = 0; i < kDevices; i++)
			text += disk_line(kPaths[i], snapshot().devices[i].disk);
		return text;
	}

	[[nodiscard]] std::string uids_text()
	{
		std::string text =
			"\n/proc/uid_io/stats: uid     delta           delta_frb       "
			"delta_fwb       "
			"delta_brb       delta_bwb       delta_fbc       delta_bbc       "
			"delta_swc       delta_awc       frb             fwb             "
			"brb             bwb             fbc             bbc             "
			"swc             awc\n";
		for (int rank = 0; rank < 10; rank++) {
			const zem_io_top &top = snapshot().io_top[rank];
			text += printed("%16s%2d: %-8d%-16llu", "Top", rank + 1,
					static_cast<int>(top.uid), u64{top.delta_total});
			for (const zem_io_columns *c : {&top.delta, &top.value})
				text += printed("%-16llu%-16llu%-16llu%-16llu%-16llu%-16llu%-16llu"
						"%-16llu",
						u64{c->frb}, u64{c->fwb}, u64{c->brb}, u64{c->bwb},
						u64{c->fbc}, u64{c->bbc}, u64{c->swc}, u64{c->awc});
			text += '\n';
		}
		text += "\n/proc/uid_iowait/stats: uid     iowait           delta_iowait\n";
		for (int rank = 0; rank < 10; rank++) {
			const zem_iowait_top &top = snapshot().iowait_top[rank];
			text += printed("%16s%2d: %-8d%-16llu%-16llu\n", "Top", rank + 1,
					static_cast<int>(top.uid), u64{top.iowait},
					u64{top.delta_iowait});
		}
		return text;
	}

	[[nodiscard]] static std::string latency_text(const char *path, const zem_io_latency &read,
						      const zem_io_latency &write)
	{
		std::string text = printed("%7s:", path);
		for (size_t i = 0; i < 7; i++)
			text += printed(" %-8u|%-8u", read.buckets[i], write.buckets[i]);
		return text + printed(" total_time_r:%llu total_time_w:%llu\n",
				      u64{read.total_time}, u64{write.total_time});
	}

	[[nodiscard]] std::string bio_text()
	{
		const zem_kio &kio = snapshot();
		std::string text = printed(
			"\nfg bio_count: %llu; bg bio_count: %llu\nread bio count: %llu; "
			"write sync bio count: %llu; write async bio count: %llu\n"
			"continue read size: 4k:%llu 8k: %llu, 32k: %llu, >32k: %llu\n"
			"read io size: %llu; write sync io size: %llu; "
			"write async io size: %llu",
			u64{kio.fg_bios}, u64{kio.bg_bios}, u64{kio.read_bios},
			u64{kio.write_sync_bios}, u64{kio.write_async_bios}, u64{kio.read_sizes[0]},
			u64{kio.read_sizes[1]}, u64{kio.read_sizes[2]}, u64{kio.read_sizes[3]},
			u64{kio.read_pages}, u64{kio.write_sync_pages}, u64{kio.write_async_pages});
		for (const bool foreground : {true, false}) {
			text += std::string("\nbio_") + (foreground ? "fg" : "bg");
			text += " Q2C: [0,1)ms------------------- [1,16)ms------------------ "
				"[16,67)ms----------------- [67,134)ms---------------- "
				"[134,268)ms--------------- [268,536)ms--------------- "
				"[>=536ms)-----------------\n"
				"            READ    |WRITE   READ    |WRITE   READ    |WRITE   "
				"READ    |WRITE    READ    |WRITE   READ    |WRITE    "
				"READ    |WRITE \n";
			for (size_t i = 0; i < kDevices; i++) {
				const zem_io_device &device = kio.devices[i];
				text += foreground ? latency_text(kPaths[i], device.read_fg,
								  device.write_fg) :
						     latency_text(kPaths[i], device.read_bg,
								  device.write_bg);
			}
		}
		return text;
	}
};

TEST_F(IoViews, are_three_files)
{
	EXPECT_THAT(kernel.sysfs.list("kioind"),
		    ElementsAre(Pair("show1_diskstats", 0664U), Pair("show2_uid_io", 0664U),
				Pair("show3_bio_time", 0664U)));
}

TEST_F(IoViews, only_the_first_can_be_written)
{
	EXPECT_EQ(kernel.sysfs.write("kioind/show2_uid_io", "1"), -EIO);
	EXPECT_EQ(kernel.sysfs.write("kioind/show3_bio_time", "1"), -EIO);
	const std::string any(3000, 'x');
	EXPECT_EQ(kernel.sysfs.write("kioind/show1_diskstats", any), 3000);
	EXPECT_EQ(log(), LogLines({sim::info("kioind_save_dev ")}));
}

TEST_F(IoViews, disks_before_they_were_found_are_zeros)
{
	EXPECT_EQ(view("show1_diskstats"), disks_text(false));
	EXPECT_THAT(
		view("show1_diskstats"),
		::testing::HasSubstr("/dev/block/sda(0,0,0000000000000000)|/dev/block/sde(0,0,"));
}

TEST_F(IoViews, disks_are_shown_with_their_numbers_and_statistics)
{
	find_devices();
	fill_snapshot();
	EXPECT_EQ(view("show1_diskstats"), disks_text(true));
}

TEST_F(IoViews, disks_are_brought_up_to_date_by_reading)
{
	find_devices();
	device(2).counted[1].ios[0] = 4711;
	const std::string text = view("show1_diskstats");
	EXPECT_EQ(snapshot().devices[2].disk.rd_ios, 4711U);
	EXPECT_EQ(text, disks_text(true));
}

TEST_F(IoViews, disk_that_is_missing_shows_zeros_among_the_others)
{
	kernel.blocks.unlink(kPaths[1]);
	kernel.sysfs.write("kioind/show1_diskstats", "1");
	EXPECT_EQ(log().size(), 3U);
	const std::string text = view("show1_diskstats");
	EXPECT_THAT(text, ::testing::HasSubstr("|/dev/block/sde(0,0,0000000000000000)|"));
	EXPECT_THAT(text, ::testing::HasSubstr("/dev/block/by-name/userdata(259,1048575," +
					       sim::pointer_text(&device(3)) + ") \n"));
	EXPECT_THAT(text, ::testing::HasSubstr(disk_line(kPaths[1], zem_io_disk{})));
}

TEST_F(IoViews, uids_are_shown_by_rank)
{
	fill_snapshot();
	EXPECT_EQ(view("show2_uid_io"), uids_text());
}

TEST_F(IoViews, uid_beyond_the_signed_ones_is_shown_as_negative)
{
	fill_snapshot();
	snapshot().io_top[9].uid = 4294967295;
	snapshot().iowait_top[0].uid = 4294967294;
	EXPECT_EQ(view("show2_uid_io"), uids_text());
	EXPECT_THAT(view("show2_uid_io"), ::testing::HasSubstr("Top10: -1      "));
}

TEST_F(IoViews, uids_are_brought_up_to_date_by_reading)
{
	sim::Task &app = kernel.platform.make_task({.pid = 500, .uid = 10050});
	submit(10050);
	static_cast<void>(view("show2_uid_io"));
	app.io.read_bytes = 12345;
	EXPECT_THAT(view("show2_uid_io"), ::testing::HasSubstr("Top 1: 10050   12345           "));
	EXPECT_EQ(collect().io_top[0].delta_total, 0U) << "the reader has had the interval";
}

TEST_F(IoViews, bios_are_shown_by_class_device_and_bucket)
{
	fill_snapshot();
	zem::BioCounters &raw = counters();
	for (u32 i = 0; i < 4; i++) {
		raw.bio_total_time[i] = 7'000 + i;
		raw.continue_size_bio_cnt[i] = 8'000 + i;
	}
	const std::string text = view("show3_bio_time");
	EXPECT_EQ(snapshot().devices[3].write_bg.total_time, 7'003U);
	EXPECT_EQ(snapshot().devices[0].write_fg.total_time, 7'001U);
	EXPECT_EQ(snapshot().read_sizes[3], 8'003U);
	EXPECT_EQ(text, bio_text());
}

TEST_F(IoViews, second_reading_of_the_bios_has_the_counts_and_nothing_of_an_interval)
{
	find_devices();
	complete({.latency = 300'000, .pages = 2});
	const std::string first = view("show3_bio_time");
	EXPECT_THAT(first, ::testing::HasSubstr("continue read size: 4k:0 8k: 1, "));
	EXPECT_THAT(first, ::testing::HasSubstr("total_time_r:1 "));
	const std::string second = view("show3_bio_time");
	EXPECT_THAT(second, ::testing::HasSubstr("read bio count: 1; "));
	EXPECT_THAT(second, ::testing::HasSubstr("continue read size: 4k:0 8k: 0, "));
	EXPECT_THAT(second, ::testing::Not(::testing::HasSubstr("total_time_r:1 ")));
}

TEST_F(IoViews, bios_are_folded_by_reading_even_while_the_indicators_are_off)
{
	find_devices();
	complete();
	switch_io_indicators(0);
	EXPECT_THAT(view("show3_bio_time"), ::testing::HasSubstr("read bio count: 1; "));
	EXPECT_EQ(counted_latencies(), 0U);
}

TEST_F(IoViews, show_what_was_last_while_the_indicators_are_off)
{
	find_devices();
	device(0).counted[0].ios[0] = 5;
	static_cast<void>(collect());
	switch_io_indicators(0);
	device(0).counted[0].ios[0] = 6;
	EXPECT_THAT(view("show1_diskstats"), ::testing::HasSubstr(": 5            0 "));
}

TEST_F(IoViews, never_go_beyond_their_page)
{
	find_devices();
	fill_to_the_brim();
	EXPECT_EQ(view("show1_diskstats"), disks_text(true));
	const std::string uids = uids_text();
	ASSERT_GT(uids.size(), 4095U);
	EXPECT_EQ(view("show2_uid_io"), uids.substr(0, 4095));
	const std::string text = view("show3_bio_time");
	EXPECT_EQ(text, bio_text().substr(0, 4095));
}

TEST_F(IoViews, are_removed_at_unload_and_their_content_is_forgotten)
{
	submit(10050);
	submit(10051);
	unload();
	EXPECT_FALSE(kernel.sysfs.exists("kioind"));
	EXPECT_EQ(kernel.slab.allocations(), 0U);
}

TEST_F(IoViews, unload_waits_for_their_readers_and_hooks_after_it_count_nothing)
{
	std::unique_ptr<sim::Thread> reader;
	kernel.faults.at(
		"sysfs_remove_group",
		[&] {
			kernel.faults.at("mutex_lock", [&] { kernel.run_for(10); });
			reader = std::make_unique<sim::Thread>(kernel.spawn("reader", [this] {
				EXPECT_NE(view("show2_uid_io"), "");
			}));
			kernel.run_until_idle();
			EXPECT_FALSE(reader->ended());
		},
		2);
	/* The last step before the families are shut down. */
	kernel.faults.at("unregister_load_stat_proc_runtime", [this] {
		EXPECT_FALSE(submit(10077));
		EXPECT_EQ(state_of(10077), 1U);
	});
	unload();
	EXPECT_TRUE(reader->ended());
}

} /* namespace test */
