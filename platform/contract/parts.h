/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The parts of the contract that cannot fail to start. Each creates its files below
 * /sys/kernel/debug/zem_platform. May sleep.
 */
#ifndef _ZEM_PLATFORM_CONTRACT_PARTS_H
#define _ZEM_PLATFORM_CONTRACT_PARTS_H

struct dentry;

void app_start_init(struct dentry *directory);
/* Before the first task is counted. */
void clusters_init(struct dentry *directory);
void cpu_activity_init(struct dentry *directory);
void kzerod_init(struct dentry *directory);
void long_iowait_init(struct dentry *directory);

#endif /* _ZEM_PLATFORM_CONTRACT_PARTS_H */
