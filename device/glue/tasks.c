// SPDX-License-Identifier: GPL-2.0
/* What zem asks about a task. Context: any. */
#include <linux/export.h>

#include "glue.h"
#include "vendor.h"

struct task_ext *platform_task_ext(struct task_struct *task)
{
	return vendor_task_record(task);
}
EXPORT_SYMBOL_GPL(platform_task_ext);

int test_task_svp(struct task_struct *task)
{
	return vendor_task_is_important(task);
}
EXPORT_SYMBOL_GPL(test_task_svp);

/* ADAPT: false for a task that is important only because another task waits for it. */
int test_task_orig_svp(struct task_struct *task)
{
	return vendor_task_is_important(task);
}
EXPORT_SYMBOL_GPL(test_task_orig_svp);

/* ADAPT: 1, 1 and the UID while an app starts from scratch. */
void test_app_starting_simple(int *first, int *second, int *third)
{
	*first = 0;
	*second = 0;
	*third = -1;
}
EXPORT_SYMBOL_GPL(test_app_starting_simple);
