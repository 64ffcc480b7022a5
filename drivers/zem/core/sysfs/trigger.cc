// SPDX-License-Identifier: GPL-2.0
/* /sys/zem/trigger: begins a new batch, and runs a cycle in the writer's context. */
#include "core/sysfs/trigger.h"

#include "core/collector.h"
#include "core/families.h"
#include "core/records.h"
#include "core/settings.h"
#include "kernel/api/parse.h"
#include "kernel/errno.h"

namespace zem {

/* The number applies to later records even if nothing is collected now. */
ssize_t trigger_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	int number;
	if (sscanf(text, "%d", &number) != 1)
		return -EINVAL;

	train_number.store(static_cast<u32>(number));
	families_at_trigger();
	if (trace_on.load())
		common_getdata();
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
