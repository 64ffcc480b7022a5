// SPDX-License-Identifier: GPL-2.0
/*
 * An example of a producer: a driver that counts events in its interrupt and pushes a record for
 * each interval with events. Here a work item stands for the interrupt.
 */
#include <linux/atomic.h>
#include <linux/jiffies.h>
#include <linux/ktime.h>
#include <linux/module.h>
#include <linux/types.h>
#include <linux/workqueue.h>

#include <linux/zem.h>

/* The sub-type identifies the payload. Each channel numbers its own. */
#define SUB_TYPE_EVENTS 1

/*
 * The payload, at most ZEM_PAYLOAD_MAX bytes. Fields have fixed widths and no gaps: it is read by
 * another program, possibly a 32-bit one, and a gap would copy memory of the kernel to it.
 */
struct events_payload {
	u32 version; /* increase it when the fields change */
	u32 events;
	u64 interval_ns;
};
static_assert(sizeof(struct events_payload) == 16);

static unsigned int interval_ms = 1000;
module_param(interval_ms, uint, 0444);
MODULE_PARM_DESC(interval_ms, "ms between two records");

static atomic_t events;
static u64 interval_began;

/* The device's interrupt handler calls this. */
static void event_happened(void)
{
	atomic_inc(&events);
}

/*
 * A setter may be called in any context, also in the interrupt itself, and returns nothing: while
 * nobody records, the record is dropped. An interval without events is not worth a record.
 */
static void push(void)
{
	u64 now = ktime_get_ns();
	struct events_payload payload = {
		.version = 1,
		.events = atomic_xchg(&events, 0),
		.interval_ns = now - interval_began,
	};

	interval_began = now;
	if (payload.events)
		touchscreen_zem_set(0, &payload, sizeof(payload), SUB_TYPE_EVENTS);
}

static void interval_ends(struct work_struct *work);
static DECLARE_DELAYED_WORK(interval_work, interval_ends);

static void interval_ends(struct work_struct *work)
{
	event_happened();
	push();
	schedule_delayed_work(&interval_work, msecs_to_jiffies(interval_ms));
}

static int __init producer_init(void)
{
	interval_began = ktime_get_ns();
	schedule_delayed_work(&interval_work, msecs_to_jiffies(interval_ms));
	return 0;
}
module_init(producer_init);

/* The call of the setter keeps zem loaded until here. */
static void __exit producer_exit(void)
{
	cancel_delayed_work_sync(&interval_work);
}
module_exit(producer_exit);

MODULE_DESCRIPTION("Example of a producer of records");
MODULE_LICENSE("GPL");
