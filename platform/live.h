/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The hooks raised from the running kernel's own events. Starting may fail and leaves nothing
 * behind then; once stopping returns, nothing is raised any more. All of it may sleep.
 */
#ifndef _ZEM_PLATFORM_LIVE_H
#define _ZEM_PLATFORM_LIVE_H

#include <linux/kconfig.h>

struct dentry;

/* live_sched.c */
int live_sched_start(void);
void live_sched_stop(void);

/* live_block.c */
int live_block_start(void);
void live_block_stop(void);

/* live_syscalls.c */
int live_syscalls_start(void);
void live_syscalls_stop(void);

/* live_usb.c */
#if IS_ENABLED(CONFIG_USB)
int live_usb_start(void);
void live_usb_stop(void);
#endif

/* live_stat.c */
int live_stat_start(void);
void live_stat_stop(void);

/* live_irq.c */
void live_irq_init(struct dentry *directory);
int live_irq_start(void);
void live_irq_stop(void);

/* live.c: keeps the hooks from being raised until live_unlock(). Return: -EBUSY when they are. */
int live_lock_off(void);
void live_unlock(void);

#endif /* _ZEM_PLATFORM_LIVE_H */
