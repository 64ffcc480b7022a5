/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Strings: <linux/string.h>. Context: any. The functions for memory are macros in C, so C++ uses
 * __builtin_memcpy() and the like.
 */
#ifndef _ZEM_KERNEL_API_STRING_H
#define _ZEM_KERNEL_API_STRING_H

#include "types.h"

ZEM_API_BEGIN

/* Return: the first @character in the text, or NULL. */
char *strchr(const char *text, int character);
/* Writes at most @size - 1 bytes and a NUL. Return: the length of the complete text. */
int snprintf(char *text, size_t size, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
int strcmp(const char *left, const char *right);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_STRING_H */
