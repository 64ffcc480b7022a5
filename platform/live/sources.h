/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The sources of live hooks, one for each kind of event. Starting may fail and then leaves nothing
 * behind. After stopping returns, the source raises no hook. May sleep.
 */
#ifndef _ZEM_PLATFORM_SOURCES_H
#define _ZEM_PLATFORM_SOURCES_H

#include <linux/kconfig.h>

int live_sched_start(void);
void live_sched_stop(void);

int live_block_start(void);
void live_block_stop(void);

int live_syscalls_start(void);
void live_syscalls_stop(void);

#if IS_ENABLED(CONFIG_USB)
int live_usb_start(void);
void live_usb_stop(void);
#endif

int live_stat_start(void);
void live_stat_stop(void);

int live_irq_start(void);
void live_irq_stop(void);

#endif /* _ZEM_PLATFORM_SOURCES_H */
