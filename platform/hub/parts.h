/* SPDX-License-Identifier: GPL-2.0 */
/* Provides zem with what it looks for in other modules, and cleans up after it. May sleep. */
#ifndef _ZEM_PLATFORM_HUB_PARTS_H
#define _ZEM_PLATFORM_HUB_PARTS_H

struct dentry;

/* zem_symbols.c */
int zem_symbols_init(struct dentry *directory);
void zem_symbols_exit(void);

/* providers.c */
void providers_init(struct dentry *directory);

/* Called before zem starts, with the addresses of zem's two pointers to its providers. */
void providers_attach(void *(**kmem)(void), void (**display)(int interval));
/* Called after zem is unloaded. */
void providers_detach(void);

/* leftovers.c: called after zem is unloaded. */
void leftovers_remove(void);

#endif /* _ZEM_PLATFORM_HUB_PARTS_H */
