// SPDX-License-Identifier: GPL-2.0
/*
 * /sys/kioind: disks, UIDs and latencies as text, each limited to a page. Scripts rely on the
 * irregular titles and paddings. Runs in the reader's process.
 */
#include "io/bio_accounting.h"
#include "io/bio_counters.h"
#include "io/devices.h"
#include "io/kioind.h"
#include "kernel/attribute_group.h"
#include "kernel/sysfs_page.h"

namespace zem {

namespace {

/* The type of %lu. */
unsigned long number(u64 value)
{
	return value;
}

void show_header(Page &page)
{
	page.add("sizeof(struct kioind)=%d(Bytes), sizeof(u64)=%lu, sizeof(unsigned long)=%lu, "
		 "sizeof(unsigned int)=%lu, sizeof(unsigned short)=%lu, sizeof(uid_t)=%lu, "
		 "sizeof(b_q2c)=%lu\n\n",
		 static_cast<int>(sizeof(kioind)), sizeof(u64), sizeof(unsigned long),
		 sizeof(unsigned int), sizeof(unsigned short), sizeof(u32),
		 sizeof(BioCounters::b_q2c));
	page.add("dev(major, minor): ");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const TrackedDevice &device = kioind_dev[i];
		page.add("%s(%d,%d,%p)%c", device.path, static_cast<int>(device.major()),
			 static_cast<int>(device.minor()), static_cast<const void *>(device.bdev),
			 i + 1 < ZEM_IO_DEVICES ? '|' : ' ');
	}
}

ssize_t show1_diskstats_show(kobject *, kobj_attribute *, char *text)
{
	LockGuard guard(kioind_lock);
	Page page(text);
	show_header(page);
	refresh_diskstats();
	page.add("\n\n/proc/diskstats: rd_ios       rd_merges    rd_sectors   rd_ticks     "
		 "wr_ios       wr_merges    wr_sectors   wr_ticks     in_flight    io_ticks     "
		 "time_in_queue\n");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const zem_io_disk &disk = kioind.devices[i].disk;
		page.add("%15s: %-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu%-13lu"
			 "%-13lu\n",
			 kioind_dev[i].path, number(disk.rd_ios), number(disk.rd_merges),
			 number(disk.rd_sectors), number(disk.rd_ticks), number(disk.wr_ios),
			 number(disk.wr_merges), number(disk.wr_sectors), number(disk.wr_ticks),
			 number(disk.in_flight), number(disk.io_ticks), number(disk.time_in_queue));
	}
	return page.size();
}

/* The written text is ignored. */
ssize_t show1_diskstats_store(kobject *, kobj_attribute *, const char *, size_t count)
{
	kioind_save_dev();
	return static_cast<ssize_t>(count);
}

void show_columns(Page &page, const zem_io_columns &columns)
{
	page.add("%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu%-16lu", number(columns.frb),
		 number(columns.fwb), number(columns.brb), number(columns.bwb), number(columns.fbc),
		 number(columns.bbc), number(columns.swc), number(columns.awc));
}

ssize_t show2_uid_io_show(kobject *, kobj_attribute *, char *text)
{
	LockGuard guard(kioind_lock);
	Page page(text);
	refresh_uid_lists();
	page.add("\n/proc/uid_io/stats: uid     delta           delta_frb       delta_fwb       "
		 "delta_brb       delta_bwb       delta_fbc       delta_bbc       "
		 "delta_swc       delta_awc       frb             fwb             "
		 "brb             bwb             fbc             bbc             "
		 "swc             awc\n");
	int rank = 1;
	for (const zem_io_top &top : kioind.io_top) {
		page.add("%16s%2d: %-8d%-16lu", "Top", rank++, static_cast<int>(top.uid),
			 number(top.delta_total));
		show_columns(page, top.delta);
		show_columns(page, top.value);
		page.add("\n");
	}
	page.add("\n/proc/uid_iowait/stats: uid     iowait           delta_iowait\n");
	rank = 1;
	for (const zem_iowait_top &top : kioind.iowait_top)
		page.add("%16s%2d: %-8d%-16lu%-16lu\n", "Top", rank++, static_cast<int>(top.uid),
			 number(top.iowait), number(top.delta_iowait));
	return page.size();
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

void show_totals(Page &page)
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

/* Reading folds the counts, as an upload does. */
ssize_t show3_bio_time_show(kobject *, kobj_attribute *, char *text)
{
	LockGuard guard(kioind_lock);
	Page page(text);
	gather_bio_cnt(kioind);
	show_totals(page);
	show_latency_title(page, "bio_fg");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		show_latencies(page, kioind_dev[i].path, kioind.devices[i].read_fg,
			       kioind.devices[i].write_fg);
	show_latency_title(page, "bio_bg");
	for (size_t i = 0; i < ZEM_IO_DEVICES; i++)
		show_latencies(page, kioind_dev[i].path, kioind.devices[i].read_bg,
			       kioind.devices[i].write_bg);
	return page.size();
}

constexpr attribute_row kFiles[] = {
	{"show1_diskstats", 0664, show1_diskstats_show, show1_diskstats_store},
	{"show2_uid_io", 0664, show2_uid_io_show, nullptr},
	{"show3_bio_time", 0664, show3_bio_time_show, nullptr},
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
