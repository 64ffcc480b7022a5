/* SPDX-License-Identifier: GPL-2.0 */
/* The master switch, /sys/zem/trace_on, and the collector that it controls. Context: may sleep. */
#pragma once

#include "kernel/api/sysfs.h"

namespace zem {

/* Call before the file exists. */
void trace_switch_init();

/* For shut-down, after the file was removed: stops the collector if it runs. */
void trace_switch_stop_collector();

/* Functions of the file. */
ssize_t trace_on_show(kobject *, kobj_attribute *, char *page);
ssize_t trace_on_store(kobject *, kobj_attribute *, const char *text, size_t count);

} /* namespace zem */
