// SPDX-License-Identifier: GPL-2.0
/*
 * Serialises USB events, which tasks and interrupts raise concurrently: zem keeps a single report
 * of the device for all of them.
 */
#include <linux/spinlock.h>

#include "hooks.h"
#include "usb_events.h"

void usb_event_raise(void *pointer, int type)
{
	static DEFINE_SPINLOCK(event_lock);
	unsigned long flags;

	if (!trace_android_vh_usb_zem_set_enabled())
		return;
	spin_lock_irqsave(&event_lock, flags);
	trace_android_vh_usb_zem_set(pointer, type);
	spin_unlock_irqrestore(&event_lock, flags);
}
