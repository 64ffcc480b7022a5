/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Show and store functions of the files in /sys/zem. sysfs calls them in the reader's or writer's
 * context; they may sleep. A show function returns the number of bytes in the page. A store
 * function returns the number of bytes used or a negative error code; a refused write changes
 * nothing.
 */
#pragma once

#include "core/settings.h"
#include "kernel/api/sysfs.h"
#include "uapi/linux/zem.h"

namespace zem {

/* channel_files.cc */
ssize_t zem_show(kobject *, kobj_attribute *, char *page);
ssize_t store_record(zem_channel channel, const char *text, size_t count);

template <zem_channel channel>
ssize_t zem_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	return store_record(channel, text, count);
}

/* trace_switch.cc */
ssize_t trace_on_show(kobject *, kobj_attribute *, char *page);
ssize_t trace_on_store(kobject *, kobj_attribute *, const char *text, size_t count);

/* interval_files.cc */
ssize_t store_interval(Interval setting, NumberText form, const char *text, size_t count);

template <Interval setting>
ssize_t interval_show(kobject *, kobj_attribute *, char *page)
{
	return sysfs_emit(page, "%d\n", interval_of(setting));
}

template <Interval setting, NumberText form>
ssize_t interval_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	return store_interval(setting, form, text, count);
}

/* ring_size.cc */
ssize_t rb_size_show(kobject *, kobj_attribute *, char *page);
ssize_t rb_size_store(kobject *, kobj_attribute *, const char *text, size_t count);

/* trigger.cc */
ssize_t trigger_store(kobject *, kobj_attribute *, const char *text, size_t count);

} /* namespace zem */
