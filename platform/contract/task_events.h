/* SPDX-License-Identifier: GPL-2.0 */
/* Creates and releases task records as the kernel creates and releases tasks. May sleep. */
#ifndef _ZEM_PLATFORM_TASK_EVENTS_H
#define _ZEM_PLATFORM_TASK_EVENTS_H

struct dentry;

/* Also creates the records of the tasks that exist. Return: 0 or an error code. */
int task_events_init(struct dentry *directory);
void task_events_exit(void);

#endif /* _ZEM_PLATFORM_TASK_EVENTS_H */
