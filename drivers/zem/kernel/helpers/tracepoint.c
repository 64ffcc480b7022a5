// SPDX-License-Identifier: GPL-2.0
/* The inline functions of <linux/tracepoint.h>. */
#include <linux/tracepoint.h>

#include "../api/tracepoint.h"

void helper_tracepoint_synchronize_unregister(void)
{
	tracepoint_synchronize_unregister();
}

int helper_vendor_hooks_stay_attached(void)
{
	return IS_ENABLED(CONFIG_ANDROID_VENDOR_HOOKS);
}
