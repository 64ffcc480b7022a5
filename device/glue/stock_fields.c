// SPDX-License-Identifier: GPL-2.0
/* Stores by the task's address what a device keeps in a vendor word of the task. */
#include <linux/xarray.h>

#include "glue.h"
#include "vendor.h"

/* The alignment of tasks in memory, in bits. */
#define TASK_SHIFT 6

/* Written with interrupts off, under the lock of task_records.c. */
static DEFINE_XARRAY(records);

static unsigned long index_of(const struct task_struct *task)
{
	return (unsigned long)task >> TASK_SHIFT;
}

struct task_ext *vendor_task_record(struct task_struct *task)
{
	return xa_load(&records, index_of(task));
}

int vendor_set_task_record(struct task_struct *task, struct task_ext *record)
{
	return xa_err(xa_store(&records, index_of(task), record, GFP_ATOMIC));
}
