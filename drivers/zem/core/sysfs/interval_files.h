/* SPDX-License-Identifier: GPL-2.0 */
/* Show and store functions of the interval files in /sys/zem. Context: may sleep. */
#pragma once

#include "core/settings.h"
#include "kernel/api/sysfs.h"

namespace zem {

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

} /* namespace zem */
