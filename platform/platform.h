/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The parts of zem_platform: each makes its files below /sys/kernel/debug/zem_platform and is
 * called by main.c alone. All of it may sleep.
 */
#ifndef _ZEM_PLATFORM_H
#define _ZEM_PLATFORM_H

#include <linux/types.h>

struct dentry;

/* zem_symbols.c: return 0 or a negative error code. */
int zem_symbols_init(void);
void zem_symbols_exit(void);

/* produce.c */
void produce_init(struct dentry *directory);

/* providers.c */
void providers_init(struct dentry *directory);

/* Called when zem is about to start, with the places where providers leave their entry points. */
void providers_attach(void *(**kmem)(void), void (**display)(int interval));
/* Called when zem has gone. */
void providers_detach(void);

/* Whether hooks are raised from the running kernel's own events, or by hand alone. */
extern bool platform_live;

#endif /* _ZEM_PLATFORM_H */
