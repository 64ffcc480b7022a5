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
/* Return: the length of the whole text, of which at most @size - 1 bytes and a NUL are written. */
int snprintf(char *text, size_t size, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
int strcmp(const char *left, const char *right);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_STRING_H */
