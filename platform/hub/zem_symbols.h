/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Looks up zem's exports at run time. This module is loaded before zem, so it cannot be linked
 * against them, and it must not keep zem from being unloaded.
 */
#ifndef _ZEM_PLATFORM_ZEM_SYMBOLS_H
#define _ZEM_PLATFORM_ZEM_SYMBOLS_H

#include <linux/types.h>

typedef void (*zem_setter)(unsigned long long reserved, const void *data, int len,
			   unsigned int sub_type);

/*
 * Looks a channel's setter up and pins zem until zem_put(). May sleep.
 * Return: the setter; as an error pointer -ENODEV if zem is not loaded, -EINVAL for an unknown
 * channel.
 */
zem_setter zem_get_setter(const char *channel);
void zem_put(void);

#endif /* _ZEM_PLATFORM_ZEM_SYMBOLS_H */
