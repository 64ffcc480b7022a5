/* SPDX-License-Identifier: GPL-2.0 */
/*
 * zem's exports, found when it is loaded. This module is loaded first, so it can't be linked
 * against them, and it must not keep zem from being unloaded either.
 */
#ifndef _ZEM_PLATFORM_ZEM_SYMBOLS_H
#define _ZEM_PLATFORM_ZEM_SYMBOLS_H

#include <linux/types.h>

typedef void (*zem_setter)(unsigned long long reserved, const void *data, int len,
			   unsigned int sub_type);

/*
 * Pins zem in memory and looks one of its channels up. May sleep.
 * Return: the setter; -ENODEV as an error pointer without zem, -EINVAL for an unknown channel.
 * A setter that was returned is given back with zem_put().
 */
zem_setter zem_get_setter(const char *channel);
void zem_put(void);

#endif /* _ZEM_PLATFORM_ZEM_SYMBOLS_H */
