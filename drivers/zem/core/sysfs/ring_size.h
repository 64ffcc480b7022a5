/* SPDX-License-Identifier: GPL-2.0 */
/* Show and store function of /sys/zem/rb_size. Context: may sleep. */
#pragma once

#include "kernel/api/sysfs.h"

namespace zem {

ssize_t rb_size_show(kobject *, kobj_attribute *, char *page);
ssize_t rb_size_store(kobject *, kobj_attribute *, const char *text, size_t count);

} /* namespace zem */
