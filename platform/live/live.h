/* SPDX-License-Identifier: GPL-2.0 */
/* Raises the hooks from the running kernel's own events, while "live" is on. May sleep. */
#ifndef _ZEM_PLATFORM_LIVE_H
#define _ZEM_PLATFORM_LIVE_H

struct dentry;

int live_init(struct dentry *directory);
void live_exit(void);

/* Keeps "live" off until live_unlock(). Return: -EBUSY if it is on. */
int live_lock_off(void);
void live_unlock(void);

#endif /* _ZEM_PLATFORM_LIVE_H */
