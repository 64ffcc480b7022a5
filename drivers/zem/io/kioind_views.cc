// SPDX-License-Identifier: GPL-2.0
/*
 * /sys/kioind: disks, UIDs and latencies as text, each limited to a page. Scripts rely on the
 * irregular titles and paddings. Runs in the reader's process.
 */
#include "io/kioind_views.h"

#include "io/bio_counters.h"
#include "io/bio_fold.h"
#include "io/devices.h"
#include "io/snapshot.h"
#include "kernel/attribute_group.h"
#include "kernel/sysfs_page.h"

namespace zem {

namespace {

/* The type of %lu. */
unsigned long number(u64 value)
{
	return value;
}

void show_header(Page &page, const TrackedDevices &devices)
{
	page.add("sizeof(struct kioind)=%d(Bytes), sizeof(u64)=%lu, sizeof(unsigned long)=%lu, "
		 "sizeof(unsigned int)=%lu, sizeof(unsigned short)=%lu, sizeof(uid_t)=%lu, "
		 "sizeof(b_q2c)=%lu\n\n",
		 static_cast<int>(sizeof(zem_kio)), sizeof(u64), sizeof(unsigned long),
		 sizeof(unsigned int), sizeof(unsigned short), sizeof(u32),
		 sizeof(BioCounters::b_q2c));
	page.add("dev(major, minor): ");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		page.add("%s(%d,%d,%p)%c", tracked_path(i),
			 static_cast<int>(DeviceNumbers::major(i)),
			 static_cast<int>(DeviceNumbers::minor(i)),
			 static_cast<const void *>(devices.bdev[i]),
			 i + 1 < ZEM_IO_DEVICES ? '|' : ' ');
}

void show_disks(Page &page, IoSnapshot &io)
{
	show_header(page, io.devices);
	refresh_diskstats(io);
	page.add("\n\n/proc/diskstats: rd_ios       rd_merges    rd_sectors   rd_ticks     "
		 "wr_ios       wr_merges    wr_sectors   wr_ticks     in_flight    io_ticks     "
		 "time_in_queue\n");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const zem_io_disk &disk = io.kioind.devices[i].disk;
		page.add("%15s: %-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu"
			 "%-13lu\n",
			 tracked_path(i), number(disk.rd_ios), number(disk.rd_merges),
			 number(disk.rd_sectors), number(disk.rd_ticks), number(disk.wr_ios),
			 number(disk.wr_merges), number(disk.wr_sectors), number(disk.wr_ticks),
			 number(disk.in_flight), number(disk.io_ticks), number(disk.time_in_queue));
	}
}

void show_columns(Page &page, const zem_io_columns &columns)
{
	page.add("%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu", number(columns.frb),
		 number(columns.fwb), number(columns.brb), number(columns.bwb), number(columns.fbc),
		 number(columns.bbc), number(columns.swc), number(columns.awc));
}

void show_uids(Page &page, IoSnapshot &io)
{
	refresh_uid_lists(io);
	page.add("\n/proc/uid_io/stats: uid     delta           delta_frb       delta_fwb       "
		 "delta_brb       delta_bwb       delta_fbc       delta_bbc       "
		 "delta_swc       delta_awc       frb             fwb             "
		 "brb             bwb             fbc             bbc             "
		 "swc             awc\n");
	int rank = 1;
	for (const zem_io_top &top : io.kioind.io_top) {
		page.add("%16s%2d: %-8d%-16lu", "Top", rank++, static_cast<int>(top.uid),
			 number(top.delta_total));
		show_columns(page, top.delta);
		show_columns(page, top.value);
		page.add("\n");
	}
	page.add("\n/proc/uid_iowait/stats: uid     iowait           delta_iowait\n");
	rank = 1;
	for (const zem_iowait_top &top : io.kioind.iowait_top)
		page.add("%16s%2d: %-8d%-16lu%-16lu\n", "Top", rank++, static_cast<int>(top.uid),
			 number(top.iowait), number(top.delta_iowait));
}

void show_latencies(Page &page, const char *path, const zem_io_latency &read,
		    const zem_io_latency &write)
{
	page.add("%7s:", path);
	for (size_t bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++)
		page.add(" %-8u|%-8u", read.buckets[bucket], write.buckets[bucket]);
	page.add(" total_time_r:%llu total_time_w:%llu\n", u64{read.total_time},
		 u64{write.total_time});
}

void show_latency_title(Page &page, const char *bio_class)
{
	page.add("\n%s Q2C: [0,1)ms------------------- [1,16)ms------------------ "
		 "[16,67)ms----------------- [67,134)ms---------------- "
		 "[134,268)ms--------------- [268,536)ms--------------- "
		 "[>=536ms)-----------------\n",
		 bio_class);
	page.add("            READ    |WRITE   READ    |WRITE   READ    |WRITE   READ    |WRITE    "
		 "READ    |WRITE   READ    |WRITE    READ    |WRITE \n");
}

void show_totals(Page &page, const zem_kio &kioind)
{
	page.add("\nfg bio_count: %llu; bg bio_count: %llu", u64{kioind.fg_bios},
		 u64{kioind.bg_bios});
	page.add("\nread bio count: %llu; write sync bio count: %llu; write async bio count: %llu",
		 u64{kioind.read_bios}, u64{kioind.write_sync_bios}, u64{kioind.write_async_bios});
	page.add("\ncontinue read size: 4k:%llu 8k: %llu, 32k: %llu, >32k: %llu",
		 u64{kioind.read_sizes[0]}, u64{kioind.read_sizes[1]}, u64{kioind.read_sizes[2]},
		 u64{kioind.read_sizes[3]});
	page.add("\nread io size: %llu; write sync io size: %llu; write async io size: %llu",
		 u64{kioind.read_pages}, u64{kioind.write_sync_pages},
		 u64{kioind.write_async_pages});
}

/* Showing folds the counts, as an upload does. */
void show_bios(Page &page, IoSnapshot &io)
{
	zem_kio &kioind = io.kioind;

	gather_bio_cnt(kioind);
	show_totals(page, kioind);
	show_latency_title(page, "bio_fg");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		show_latencies(page, tracked_path(i), kioind.devices[i].read_fg,
			       kioind.devices[i].write_fg);
	show_latency_title(page, "bio_bg");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		show_latencies(page, tracked_path(i), kioind.devices[i].read_bg,
			       kioind.devices[i].write_bg);
}

template <void (*view)(Page &page, IoSnapshot &io)>
ssize_t show(kobject *, kobj_attribute *, char *text)
{
	Page page(text);
	with_io_snapshot([&page](IoSnapshot &io) { view(page, io); });
	return page.size();
}

/* The written text is ignored. */
ssize_t show1_diskstats_store(kobject *, kobj_attribute *, const char *, size_t count)
{
	kioind_save_dev();
	return static_cast<ssize_t>(count);
}

constexpr attribute_row kFiles[] = {
	{"show1_diskstats", 0664, show<show_disks>, show1_diskstats_store},
	{"show2_uid_io", 0664, show<show_uids>, nullptr},
	{"show3_bio_time", 0664, show<show_bios>, nullptr},
};

constinit AttributeGroup<sizeof(kFiles) / sizeof(kFiles[0])> files;

} /* namespace */

int kioind_views_create(kobject *directory)
{
	return files.create(directory, kFiles);
}

void kioind_views_remove(kobject *directory)
{
	files.remove(directory);
}

} /* namespace zem */
