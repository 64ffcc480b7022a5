// SPDX-License-Identifier: GPL-2.0
/*
 * Does the work as it is usually written first: a lock around a table, a lock around sums, atomics
 * on one set of counters, a completion for each record.
 */
#include "floor.h"

#include <string.h>

#include <uapi/linux/zem.h>

#include "host/spin.h"
#include "kernel/api/completion.h"
#include "kernel/api/io_accounting.h"
#include "kernel/api/ring_buffer.h"
#include "kernel/api/cgroup.h"
#include "kernel/api/task.h"
#include "kernel/api/time.h"

#define BUCKETS 1024
#define STAMP_TIME 0x7ffffffffffffull
#define TIME_UNIT 100000

struct completion {
	unsigned char storage[KERNEL_SIZEOF_COMPLETION];
} __attribute__((aligned(64)));

static struct ticket_lock uids_lock;
static struct floor_uid *uids[BUCKETS];

static u32 tracked_device;
struct floor_bios floor_bios;

static struct completion data_ready;
static struct trace_buffer *buffer;

static struct ticket_lock waits_lock;
u64 floor_waits[3];

void floor_init(void)
{
	helper_init_completion(&data_ready);
	buffer = helper_ring_buffer_alloc_overwrite(8192);
}

static struct floor_uid **bucket_of(u32 uid)
{
	return &uids[uid * 0x61c88647u >> 22];
}

/* Caller holds uids_lock, or is the only thread. */
struct floor_uid *floor_find_uid(u32 uid)
{
	struct floor_uid *entry = *bucket_of(uid);

	while (entry && entry->uid != uid)
		entry = entry->next;
	return entry;
}

void floor_make_uid(u32 uid, struct floor_uid *entry)
{
	entry->uid = uid;
	entry->next = *bucket_of(uid);
	*bucket_of(uid) = entry;
}

static void count_transfer(s64 bytes, bool is_write)
{
	s64 uid = helper_task_uid(helper_current());
	struct floor_uid *entry;

	if (uid < 0 || bytes < 0)
		return;
	ticket_lock_acquire(&uids_lock);
	entry = floor_find_uid(uid);
	if (entry && is_write)
		entry->write_chars += bytes;
	else if (entry)
		entry->read_calls++;
	ticket_lock_release(&uids_lock);
}

void floor_rchar(s64 bytes)
{
	count_transfer(bytes, false);
}

void floor_wchar(s64 bytes)
{
	count_transfer(bytes, true);
}

u32 floor_submit(void)
{
	s64 uid = helper_task_uid(helper_current());
	struct floor_uid *entry;
	u32 state = 1;

	if (uid < 0)
		return state;
	ticket_lock_acquire(&uids_lock);
	entry = floor_find_uid(uid);
	if (entry) {
		state = entry->state;
		entry->bio_count[state]++;
	}
	ticket_lock_release(&uids_lock);
	return state;
}

u32 floor_uid_state(u32 uid)
{
	struct floor_uid *entry;
	u32 state;

	ticket_lock_acquire(&uids_lock);
	entry = floor_find_uid(uid);
	state = entry ? entry->state : 1;
	ticket_lock_release(&uids_lock);
	return state;
}

void floor_track(u32 device)
{
	tracked_device = device;
}

static void add_u32(u32 *counter, u32 amount)
{
	__atomic_fetch_add(counter, amount, __ATOMIC_RELAXED);
}

static void add_u64(u64 *counter, u64 amount)
{
	__atomic_fetch_add(counter, amount, __ATOMIC_RELAXED);
}

/* A bio in the background. */
void floor_endio(struct bio *bio)
{
	u32 pages = bio->issue >> 54 & 0x1ff;
	u32 direction = bio->operation & 1;
	u64 latency, per_page;
	u32 slot;

	if (!bio->issue || bio->device->number != tracked_device || !pages)
		return;
	latency = (ktime_get() - bio->issue) & STAMP_TIME;
	per_page = latency / pages;
	slot = per_page ? 63 - __builtin_clzll(per_page) : FLOOR_SLOTS;
	if (slot < FLOOR_SLOTS) {
		add_u32(&floor_bios.latencies[direction][1][slot], 1);
		add_u32(&floor_bios.counts[direction], 1);
		add_u32(&floor_bios.pages[direction], pages);
		add_u64(&floor_bios.total_times[2 + direction], per_page / TIME_UNIT);
	}
	if (!direction)
		add_u64(&floor_bios.read_sizes[pages == 1 ? 0 :
					       pages == 2 ? 1 :
					       pages <= 8 ? 2 :
							    3],
			1);
}

void floor_ring(void)
{
	complete(&data_ready);
}

/* The first word of a completion. */
u32 floor_rung(void)
{
	u32 done;

	memcpy(&done, &data_ready, sizeof(done));
	return done;
}

void floor_set(const void *data, u32 length)
{
	struct ring_buffer_event *event;
	struct zem_record_header *header;

	event = ring_buffer_lock_reserve(buffer, length + sizeof(*header));
	if (!event)
		return;
	header = ring_buffer_event_data(event);
	memset(header, 0, sizeof(*header));
	header->len = length;
	header->channel = ZEM_CHANNEL_TEST;
	header->train_number = 1;
	header->timestamp = helper_ktime_get_real_ns();
	memcpy(header + 1, data, length);
	ring_buffer_unlock_commit(buffer);
	complete(&data_ready);
}

struct trace_buffer *floor_ring_buffer(void)
{
	return buffer;
}

void floor_stat_wait(struct task_struct *task, u64 delay)
{
	ticket_lock_acquire(&waits_lock);
	floor_waits[0] += delay;
	if (helper_task_cpu_css_id(task) > 0)
		floor_waits[1] += delay;
	if (test_task_svp(task) & 1)
		floor_waits[2] += delay;
	ticket_lock_release(&waits_lock);
}
