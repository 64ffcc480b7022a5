/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The parts of zem_platform: each makes its files below /sys/kernel/debug/zem_platform and is
 * called by main.c, in the order of its table. All of it may sleep.
 */
#ifndef _ZEM_PLATFORM_H
#define _ZEM_PLATFORM_H

#include <linux/types.h>

struct dentry;

/* zem_symbols.c */
int zem_symbols_init(struct dentry *directory);
void zem_symbols_exit(void);

/* produce.c */
void produce_init(struct dentry *directory);

/* providers.c */
void providers_init(struct dentry *directory);

/* Called when zem is about to start, with the places where providers leave their entry points. */
void providers_attach(void *(**kmem)(void), void (**display)(int interval));
/* Called when zem has gone. */
void providers_detach(void);

/* task_records.c */
int task_records_init(struct dentry *directory);
void task_records_exit(void);

/* svp.c */
int svp_init(struct dentry *directory);
void svp_exit(void);

/* live.c */
int live_init(struct dentry *directory);
void live_exit(void);

/* iowait.c */
int iowait_init(struct dentry *directory);
void iowait_exit(void);

/* The rest: parts that are their files, or cannot fail. */
void app_start_init(struct dentry *directory);
void clusters_init(struct dentry *directory);
void cpu_activity_init(struct dentry *directory);
void inject_init(struct dentry *directory);
void kzerod_init(struct dentry *directory);
void load_feed_init(struct dentry *directory);
void long_iowait_init(struct dentry *directory);
void record_fields_init(struct dentry *directory);
void record_text_init(struct dentry *directory);

/* leftovers.c: called when zem has gone. */
void leftovers_remove(void);

#endif /* _ZEM_PLATFORM_H */
