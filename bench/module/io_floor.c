// SPDX-License-Identifier: GPL-2.0
/*
 * What the handlers do, written the way the kernel writes it: a chain of comparisons for the
 * device, a lock for each chain of UIDs, atomics on the task's block.
 */
#include <linux/atomic.h>
#include <linux/bio.h>
#include <linux/blk_types.h>
#include <linux/cred.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/ktime.h>
#include <linux/log2.h>
#include <linux/pid.h>
#include <linux/pid_namespace.h>
#include <linux/rcupdate.h>
#include <linux/sched.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/uidgid.h>

#include <linux/zem.h>

#include "../../drivers/zem/platform/contract.h"
#include "bench.h"
#include "io_floor.h"

#define MS 1000000ULL
#define FOREGROUND_MARK BIT(13)
#define STAMP_TIME GENMASK_ULL(50, 0)
#define SLOTS 40
#define TIME_UNIT 100000

static int kioind_on = 1;
static dev_t devices[FLOOR_DEVICES];

static atomic_t latencies[FLOOR_DEVICES][2][2][SLOTS];
static atomic_t counts[3], sizes[3];
static atomic64_t total_times[4], read_sizes[4];

struct uid_entry {
	struct uid_entry *next;
	u32 uid;
	u32 state;
	u64 bios[2];
	u64 read_chars;
	u64 sync_write_chars;
	u64 async_write_chars;
	u64 read_calls;
};

static struct uid_bucket {
	raw_spinlock_t lock;
	struct uid_entry *first;
} buckets[1024] = {[0 ... 1023] = {.lock = __RAW_SPIN_LOCK_INITIALIZER(buckets.lock)}};

void floor_track(unsigned int index, dev_t dev)
{
	WRITE_ONCE(devices[index], dev);
}

static struct uid_bucket *bucket_of(u32 uid)
{
	return &buckets[uid * 0x61c88647u >> 22];
}

static struct uid_entry *find_uid(const struct uid_bucket *bucket, u32 uid)
{
	struct uid_entry *entry = bucket->first;

	while (entry && entry->uid != uid)
		entry = entry->next;
	return entry;
}

static struct uid_entry *add_uid(struct uid_bucket *bucket, u32 uid)
{
	struct uid_entry *entry = kzalloc(sizeof(*entry), GFP_ATOMIC);

	if (!entry)
		return NULL;
	entry->uid = uid;
	entry->state = !uid;
	entry->next = bucket->first;
	bucket->first = entry;
	return entry;
}

void floor_forget_uids(void)
{
	for (size_t i = 0; i < ARRAY_SIZE(buckets); i++) {
		while (buckets[i].first) {
			struct uid_entry *entry = buckets[i].first;

			buckets[i].first = entry->next;
			kfree(entry);
		}
	}
}

u32 floor_get_uid_state(u32 uid)
{
	struct uid_bucket *bucket = bucket_of(uid);
	struct uid_entry *entry;
	unsigned long flags;
	u32 state;

	if (!uid)
		return 1;
	raw_spin_lock_irqsave(&bucket->lock, flags);
	entry = find_uid(bucket, uid);
	state = entry ? entry->state : 1;
	raw_spin_unlock_irqrestore(&bucket->lock, flags);
	return state;
}

void floor_submit(void *data, struct bio *bio)
{
	u32 uid = __kuid_val(current_uid());
	struct uid_bucket *bucket = bucket_of(uid);
	struct uid_entry *entry;
	unsigned long flags;
	bool is_foreground;

	raw_spin_lock_irqsave(&bucket->lock, flags);
	entry = find_uid(bucket, uid);
	is_foreground = entry && !entry->state;
	if (!entry)
		entry = add_uid(bucket, uid);
	if (entry)
		entry->bios[uid ? entry->state : 1]++;
	raw_spin_unlock_irqrestore(&bucket->lock, flags);
	if (is_foreground)
		bio->bi_flags |= FOREGROUND_MARK;
}

/* By an RCU reader. Return: the block of a task that is SVP in every respect. */
static struct zem_svp_stats *counted_stats(struct task_struct *task, struct task_ext **record)
{
	struct zem_svp_stats *stats;

	if (!task || !(test_task_svp(task) & 1))
		return NULL;
	*record = platform_task_ext(task);
	if (IS_ERR_OR_NULL(*record) || !READ_ONCE((*record)->svp_marker))
		return NULL;
	stats = smp_load_acquire(&(*record)->svp_stats);
	return stats && (test_task_orig_svp(task) & 1) ? stats : NULL;
}

static void count_for_submitter(struct bio *bio, unsigned int op, u32 pages, u64 latency)
{
	pid_t pid = platform_bio_submitter(bio);
	struct zem_svp_stats *stats;
	struct task_struct *task;
	struct task_ext *record;

	if (pid < 1 || op == REQ_OP_DISCARD)
		return;
	rcu_read_lock();
	task = pid_task(find_pid_ns(pid, &init_pid_ns), PIDTYPE_PID);
	stats = task && task->in_iowait ? counted_stats(task, &record) : NULL;
	if (stats && op & 1) {
		atomic64_add(pages * 4096ULL, (atomic64_t *)&stats->bio_write_size);
		atomic64_add(latency, (atomic64_t *)&stats->bio_write_time);
		atomic_inc((atomic_t *)&stats->bio_write_cnt);
	} else if (stats) {
		atomic64_add(pages * 4096ULL, (atomic64_t *)&stats->bio_read_size);
		atomic64_add(latency, (atomic64_t *)&stats->bio_read_time);
		atomic_inc((atomic_t *)&stats->bio_read_cnt);
	}
	rcu_read_unlock();
}

static void count_latency(unsigned int device, blk_opf_t opf, bool is_background, u32 pages,
			  u64 latency)
{
	unsigned int direction = opf & 1;
	u64 per_page = div_u64(latency, pages);
	int slot = ilog2(per_page);
	int kind = !direction ? 0 : opf & REQ_SYNC ? 1 : 2;

	if (slot >= SLOTS)
		return;
	atomic_inc(&latencies[device][direction][is_background][slot]);
	atomic_inc(&counts[kind]);
	atomic_add(pages, &sizes[kind]);
	atomic64_add(per_page / TIME_UNIT, &total_times[is_background * 2 + direction]);
}

void floor_endio(void *data, struct bio *bio)
{
	u64 stamp = bio->bi_issue.value;
	unsigned int device, op;
	bool is_background;
	u64 latency;
	u32 pages;

	if (!bio->bi_bdev || !READ_ONCE(kioind_on) || !stamp)
		return;
	for (device = 0; device < FLOOR_DEVICES; device++)
		if (READ_ONCE(devices[device]) == bio->bi_bdev->bd_dev)
			break;
	pages = stamp >> 54 & 0x1ff;
	if (device == FLOOR_DEVICES || !pages)
		return;
	latency = (ktime_get() & STAMP_TIME) - (stamp & STAMP_TIME);
	op = bio_op(bio);
	is_background = !(bio->bi_flags & FOREGROUND_MARK);
	if (!is_background)
		bio->bi_flags &= ~FOREGROUND_MARK;
	if (pages <= latency && op != REQ_OP_DISCARD)
		count_latency(device, bio->bi_opf, is_background, pages, latency);
	if (!(op & 1))
		atomic64_inc(&read_sizes[pages == 1 ? 0 : pages == 2 ? 1 : pages <= 8 ? 2 : 3]);
	count_for_submitter(bio, op, pages, latency);
}

void floor_clone(void *data, struct bio *clone, struct bio *source)
{
	if (source->bi_flags & FOREGROUND_MARK)
		clone->bi_flags |= FOREGROUND_MARK;
}

static struct uid_entry *lock_current(struct uid_bucket **bucket, unsigned long *flags)
{
	u32 uid = __kuid_val(current_uid());

	*bucket = bucket_of(uid);
	raw_spin_lock_irqsave(&(*bucket)->lock, *flags);
	return find_uid(*bucket, uid);
}

/* In the counters of @task, if it has any: @bytes of one call. */
static __always_inline void count_call(struct task_struct *task, s64 bytes, bool read)
{
	struct zem_svp_stats *stats;
	struct task_ext *record;

	rcu_read_lock();
	stats = counted_stats(task, &record);
	if (stats) {
		atomic64_add(bytes,
			     (atomic64_t *)(read ? &stats->read_bytes : &stats->write_bytes));
		atomic_inc(
			(atomic_t *)(read ? &stats->read_syscall_cnt : &stats->write_syscall_cnt));
	}
	rcu_read_unlock();
}

void floor_rchar(void *data, struct kiocb *iocb, struct task_struct *task, s64 bytes)
{
	struct uid_bucket *bucket;
	struct uid_entry *entry;
	unsigned long flags;

	if (bytes < 0)
		return;
	entry = lock_current(&bucket, &flags);
	if (entry) {
		entry->read_chars += bytes;
		entry->read_calls++;
	}
	raw_spin_unlock_irqrestore(&bucket->lock, flags);
	count_call(task, bytes, true);
}

void floor_wchar(void *data, struct kiocb *iocb, struct task_struct *task, s64 bytes)
{
	struct uid_bucket *bucket;
	struct uid_entry *entry;
	unsigned long flags;

	if (bytes < 0)
		return;
	entry = lock_current(&bucket, &flags);
	if (entry && iocb && iocb->ki_flags & IOCB_DSYNC)
		entry->sync_write_chars += bytes;
	else if (entry)
		entry->async_write_chars += bytes;
	raw_spin_unlock_irqrestore(&bucket->lock, flags);
	count_call(task, bytes, false);
}

static void count_iowait(struct zem_svp_stats *stats, const struct task_ext *record, u64 delay)
{
	int first = 0, second = 0, third = 0;

	atomic64_add(delay, (atomic64_t *)&stats->iowait_total);
	atomic_inc((atomic_t *)&stats->iowait_total_cnt);
	atomic_inc((atomic_t *)&stats->iowait_duration[delay < 1 * MS	? 0 :
						       delay < 3 * MS	? 1 :
						       delay < 10 * MS	? 2 :
						       delay < 20 * MS	? 3 :
						       delay < 50 * MS	? 4 :
						       delay < 100 * MS ? 5 :
									  6]);
	test_app_starting_simple(&first, &second, &third);
	if (first == 1 && second == 1) {
		atomic64_add(delay, (atomic64_t *)&stats->iowait_coldstart);
		atomic_inc((atomic_t *)&stats->iowait_coldstart_cnt);
	} else if (first == 0 && delay > 5 * MS && READ_ONCE(record->flags) & BIT(12)) {
		atomic_inc((atomic_t *)&stats->ui_iowait_long_cnt);
	}
}

void floor_iowait(void *data, struct task_struct *task, u64 delay)
{
	struct zem_svp_stats *stats;
	struct task_ext *record;

	if (!task || !task->in_iowait)
		return;
	rcu_read_lock();
	stats = counted_stats(task, &record);
	if (stats)
		count_iowait(stats, record, delay);
	rcu_read_unlock();
}

static DEFINE_RAW_SPINLOCK(usb_lock);
static struct zem_usb usb;

void floor_plug(const char *manufacturer, const char *product)
{
	usb.id_vendor = 1;
	strscpy_pad(usb.manufacturer, manufacturer);
	strscpy_pad(usb.product, product);
}

/* Of the types, the one that is measured. */
void floor_usb(void *data, void *pointer, int type)
{
	unsigned long flags;

	if (type != ZEM_USB_NEW_DISK)
		return;
	raw_spin_lock_irqsave(&usb_lock, flags);
	if (usb.id_vendor) {
		usb.event = type;
		strscpy(usb.message, "Attached new SCSI disk");
		floor_set(0, &usb, sizeof(usb), 0);
	}
	raw_spin_unlock_irqrestore(&usb_lock, flags);
}
