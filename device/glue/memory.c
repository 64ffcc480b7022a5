// SPDX-License-Identifier: GPL-2.0
/*
 * The counters of a daemon that clears pages ahead of their use. ADAPT: remove this file if the
 * device's kernel exports them. They stay 0 on a device without such a daemon.
 */
#include <linux/atomic.h>
#include <linux/export.h>

#include "contract.h"

#define COUNTER(name)                     \
	atomic_t kzerod_zero_page_##name; \
	EXPORT_SYMBOL_GPL(kzerod_zero_page_##name)

COUNTER(alloc_failed);
COUNTER(alloc_prezero);
COUNTER(list_alloc_total);
COUNTER(list_breakdown_total);
COUNTER(list_drain_total);
