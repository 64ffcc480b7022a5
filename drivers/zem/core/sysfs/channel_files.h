/* SPDX-License-Identifier: GPL-2.0 */
/* Show and store functions of the channel files in /sys/zem. Context: may sleep. */
#pragma once

#include "kernel/api/sysfs.h"
#include "uapi/linux/zem.h"

namespace zem {

ssize_t zem_show(kobject *, kobj_attribute *, char *page);
ssize_t store_record(zem_channel channel, const char *text, size_t count);

template <zem_channel channel>
ssize_t zem_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	return store_record(channel, text, count);
}

} /* namespace zem */
