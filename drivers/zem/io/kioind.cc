// SPDX-License-Identifier: GPL-2.0
/* Attaches the hooks that feed the IO snapshot, and creates /sys/kioind. */
#include "io/kioind.h"

#include "io/bio_accounting.h"
#include "io/kioind_views.h"
#include "io/snapshot.h"
#include "io/svp_iowait.h"
#include "io/uid_io.h"
#include "kernel/api/printk.h"
#include "kernel/api/sysfs.h"
#include "kernel/tracepoint.h"
#include "platform/contract.h"

namespace zem {

namespace {

constinit kobject *directory = nullptr;
constinit bool has_views = false;

void attach_handlers()
{
	tracepoint_probe_register(&__tracepoint_android_vh_blk_bio_endio_record_bi_issue,
				  probe(bio_endio_part_rwd_q2c), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_blk_bio_submit_record_task,
				  probe(record_bio_task_count), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_blk_bio_clone_flag,
				  probe(clone_bio_flag), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_task_wchar, probe(task_wchar), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_task_rchar, probe(task_rchar), nullptr);
	tracepoint_probe_register(&__tracepoint_android_vh_sched_stat_blocked,
				  probe(svp_iowait_record), nullptr);
}

} /* namespace */

/* Scripts search the log for the numbers in the messages. */
int kioind_init()
{
	io_snapshot_init();
	zem_proc_uid_sys_stats_init();
	attach_handlers();

	directory = kobject_create_and_add("kioind", nullptr);
	if (!directory) {
		pr_crit("%s(%d), kobject_create_and_add() failed.", __func__, 622);
		return -1;
	}
	if (kioind_views_create(directory)) {
		pr_crit("%s(%d), sysfs_create_group() failed.", __func__, 627);
		return -1;
	}
	has_views = true;
	pr_info("%s done", __func__);
	return 0;
}

void kioind_destroy()
{
	if (has_views)
		kioind_views_remove(directory);
	has_views = false;
	kobject_put(directory);
	directory = nullptr;
	zem_proc_uid_sys_stats_exit();
}

} /* namespace zem */
