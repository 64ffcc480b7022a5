// SPDX-License-Identifier: GPL-2.0
/* Gathers the IO snapshot, and attaches the hooks that feed it. */
#include "io/kioind.h"

#include "io/bio_accounting.h"
#include "io/devices.h"
#include "io/uid_io.h"
#include "kernel/api/printk.h"
#include "kernel/api/sysfs.h"
#include "kernel/tracepoint.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace zem {

constinit Mutex kioind_lock;
constinit zem_kio kioind{};

namespace {

constinit kobject *directory = nullptr;
constinit bool has_views = false;

/* Return: false if the indicators are off; then nothing was gathered. */
bool gather()
{
	if (!kioind_on.load())
		return false;
	refresh_diskstats();
	refresh_uid_lists();
	gather_bio_cnt(kioind);
	gather_long_iowait_file(&kioind);
	return true;
}

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

void refresh_diskstats()
{
	if (kioind_on.load())
		kio_diskstats(kioind);
}

void refresh_uid_lists()
{
	if (kioind_on.load())
		kio_uid_io(kioind);
}

void kioind_save_dev()
{
	LockGuard guard(kioind_lock);
	find_tracked_devices();
}

void kioind_upload(FunctionRef<void(const zem_kio &snapshot)> emit)
{
	LockGuard guard(kioind_lock);
	if (!gather())
		return;
	emit(kioind);
	__builtin_memset(&kioind, 0, sizeof(kioind));
}

void kioind_prime()
{
	LockGuard guard(kioind_lock);
	gather();
}

/* Scripts search the log for the numbers in the messages. */
int kioind_init()
{
	kioind_lock.init("zem_kioind");
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

void *get_all_kioind(void)
{
	using namespace zem;

	LockGuard guard(kioind_lock);
	return gather() ? &kioind : nullptr;
}
