/* SPDX-License-Identifier: GPL-2.0 */
/* Store function of /sys/zem/trigger. Context: may sleep. */
#pragma once

#include "kernel/api/sysfs.h"

namespace zem {

ssize_t trigger_store(kobject *, kobj_attribute *, const char *text, size_t count);

} /* namespace zem */
