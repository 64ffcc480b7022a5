/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Strings: <linux/string.h>. Any context. Memory is copied with __builtin_memcpy() and its
 * siblings: in C their names are macros.
 */
#ifndef _ZEM_KERNEL_API_STRING_H
#define _ZEM_KERNEL_API_STRING_H

#include "types.h"

ZEM_API_BEGIN

/* Return: the first @character of the text, or NULL. */
char *strchr(const char *text, int character);
int strcmp(const char *left, const char *right);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_STRING_H */
