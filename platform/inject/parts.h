/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The parts that act on a user's command. Each creates its files below
 * /sys/kernel/debug/zem_platform. May sleep.
 */
#ifndef _ZEM_PLATFORM_INJECT_PARTS_H
#define _ZEM_PLATFORM_INJECT_PARTS_H

struct dentry;

int iowait_init(struct dentry *directory);
void iowait_exit(void);

void irqtime_init(struct dentry *directory);
void produce_init(struct dentry *directory);
void raise_init(struct dentry *directory);
void record_fields_init(struct dentry *directory);
void record_text_init(struct dentry *directory);
void runtime_init(struct dentry *directory);

#endif /* _ZEM_PLATFORM_INJECT_PARTS_H */
