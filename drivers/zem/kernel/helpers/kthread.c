// SPDX-License-Identifier: GPL-2.0
/* The macros of <linux/kthread.h>. Only the prototypes of the other functions are checked. */
#include <linux/err.h>
#include <linux/kthread.h>

#include "../api/kthread.h"

struct task_struct *helper_kthread_create(int (*body)(void *), void *data, const char *name)
{
	struct task_struct *task = kthread_create(body, data, "%s", name);

	return IS_ERR(task) ? NULL : task;
}
