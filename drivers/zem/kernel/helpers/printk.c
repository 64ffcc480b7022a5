// SPDX-License-Identifier: GPL-2.0
/* <linux/printk.h>, from any context. */
#include <linux/irqflags.h>
#include <linux/kern_levels.h>
#include <linux/printk.h>
#include <linux/ratelimit.h>

#include "../api/printk.h"

int helper_printk_deferred(const char *fmt, ...)
{
	static DEFINE_RATELIMIT_STATE(limit, 5 * HZ, 1000);
	const bool is_deferred = irqs_disabled();
	va_list arguments;
	int written;

	/* The interrupt that writes to the consoles does not end as long as messages come. */
	if (is_deferred && !__ratelimit(&limit))
		return 0;
	va_start(arguments, fmt);
	/* This level stands for a caller that holds a lock of the scheduler. */
	written = is_deferred ? vprintk_emit(0, LOGLEVEL_SCHED, NULL, fmt, arguments) :
				vprintk(fmt, arguments);
	va_end(arguments);
	return written;
}
