/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Prints the module's views below /sys/kioind with the kernel's formats.
 */
#pragma once

#include <string>
#include <string_view>

#include <linux/zem.h>

#include "fake_proc.h"

namespace zemctl {

inline constexpr const char *kFakeDevices[] = {"/dev/block/sda", "/dev/block/sde",
					       "/dev/block/by-name/super",
					       "/dev/block/by-name/userdata"};

/* The first two devices are 8:0 and 8:64. The others are not found. */
inline std::string disk_view(const zem_kio &kio)
{
	std::string text = printed("sizeof(struct kioind)=%d(Bytes), sizeof(u64)=%lu, "
				   "sizeof(unsigned long)=%lu, sizeof(unsigned int)=%lu, "
				   "sizeof(unsigned short)=%lu, sizeof(uid_t)=%lu, "
				   "sizeof(b_q2c)=%lu\n\n",
				   3936, 8UL, 8UL, 4UL, 2UL, 4UL, 2560UL);
	text += "dev(major, minor): ";
	for (int i = 0; i < ZEM_IO_DEVICES; i++)
		text += printed("%s(%d,%d,%s)%c", kFakeDevices[i], i < 2 ? 8 : 0, i == 1 ? 64 : 0,
				i == 0 ? "00000000d1ce5a17" :
				i == 1 ? "(____ptrval____)" :
					 "0000000000000000",
				i < 3 ? '|' : ' ');
	text += "\n\n/proc/diskstats: rd_ios       rd_merges    rd_sectors   rd_ticks     "
		"wr_ios       wr_merges    wr_sectors   wr_ticks     in_flight    io_ticks     "
		"time_in_queue\n";
	for (int i = 0; i < ZEM_IO_DEVICES; i++) {
		const zem_io_disk &disk = kio.devices[i].disk;
		text += printed(
			"%15s: %-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-"
			"13lu\n",
			kFakeDevices[i], disk.rd_ios, disk.rd_merges, disk.rd_sectors,
			disk.rd_ticks, disk.wr_ios, disk.wr_merges, disk.wr_sectors, disk.wr_ticks,
			disk.in_flight, disk.io_ticks, disk.time_in_queue);
	}
	return text;
}

/* The text is cut off at the end of the page, as in the kernel. */
inline std::string uid_view(const zem_kio &kio)
{
	std::string text =
		"\n/proc/uid_io/stats: uid     delta           delta_frb       delta_fwb       "
		"delta_brb       delta_bwb       delta_fbc       delta_bbc       delta_swc       "
		"delta_awc       frb             fwb             brb             bwb             "
		"fbc             bbc             swc             awc\n";
	int rank = 1;
	for (const zem_io_top &top : kio.io_top) {
		const zem_io_columns &delta = top.delta;
		const zem_io_columns &value = top.value;
		text += printed("%16s%2d: %-8d", "Top", rank++, static_cast<int>(top.uid));
		for (const auto number :
		     {top.delta_total, delta.frb, delta.fwb, delta.brb, delta.bwb, delta.fbc,
		      delta.bbc, delta.swc, delta.awc, value.frb, value.fwb, value.brb, value.bwb,
		      value.fbc, value.bbc, value.swc, value.awc})
			text += printed("%-16lu", number);
		text += '\n';
	}
	text += "\n/proc/uid_iowait/stats: uid     iowait           delta_iowait\n";
	rank = 1;
	for (const zem_iowait_top &top : kio.iowait_top)
		text += printed("%16s%2d: %-8d%-16lu%-16lu\n", "Top", rank++,
				static_cast<int>(top.uid), top.iowait, top.delta_iowait);
	return text.substr(0, 4095);
}

inline std::string latency_rows(const char *title, const zem_kio &kio,
				zem_io_latency zem_io_device::*read,
				zem_io_latency zem_io_device::*write)
{
	std::string text = title;
	text += "[0,1)ms------------------- [1,16)ms------------------ [16,67)ms----------------- "
		"[67,134)ms---------------- [134,268)ms--------------- [268,536)ms--------------- "
		"[>=536ms)-----------------\n"
		"            READ    |WRITE   READ    |WRITE   READ    |WRITE   READ    |WRITE    "
		"READ    |WRITE   READ    |WRITE    READ    |WRITE \n";
	int i = 0;
	for (const zem_io_device &device : kio.devices) {
		text += printed("%7s: ", kFakeDevices[i++]);
		for (int bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++)
			text += printed("%-8u|%-8u ", (device.*read).buckets[bucket],
					(device.*write).buckets[bucket]);
		text += printed("total_time_r:%llu total_time_w:%llu\n", (device.*read).total_time,
				(device.*write).total_time);
	}
	return text;
}

inline std::string bio_view(const zem_kio &kio)
{
	std::string text =
		printed("\nfg bio_count: %llu; bg bio_count: %llu", kio.fg_bios, kio.bg_bios);
	text += printed("\nread bio count: %llu; write sync bio count: %llu; write async bio "
			"count: %llu",
			kio.read_bios, kio.write_sync_bios, kio.write_async_bios);
	text += printed("\ncontinue read size: 4k:%llu 8k: %llu, 32k: %llu, >32k: %llu",
			kio.read_sizes[0], kio.read_sizes[1], kio.read_sizes[2], kio.read_sizes[3]);
	text += printed("\nread io size: %llu; write sync io size: %llu; write async io size: %llu",
			kio.read_pages, kio.write_sync_pages, kio.write_async_pages);
	text += latency_rows("\nbio_fg Q2C: ", kio, &zem_io_device::read_fg,
			     &zem_io_device::write_fg);
	text += latency_rows("\nbio_bg Q2C: ", kio, &zem_io_device::read_bg,
			     &zem_io_device::write_bg);
	return text;
}

} // namespace zemctl
