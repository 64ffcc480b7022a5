/* SPDX-License-Identifier: GPL-2.0 */
/* Parsing numbers: sscanf() of <linux/sprintf.h>, <linux/kstrtox.h>. */
#ifndef _ZEM_KERNEL_API_PARSE_H
#define _ZEM_KERNEL_API_PARSE_H

#include "types.h"

ZEM_API_BEGIN

/* Kernel rules: "%d" skips leading spaces, accepts '-' but not '+', and ignores later text. */
int sscanf(const char *text, const char *fmt, ...) __attribute__((format(scanf, 2, 3)));

/* The whole text must be a number, with at most one trailing newline. Return: 0 or an error. */
int kstrtoint(const char *text, unsigned int base, int *result);

int kstrtoll(const char *text, unsigned int base, long long *result);

/* Parses the first 34 bytes of a text in user space in the same way. Context: may sleep. */
int kstrtouint_from_user(const char *user_text, size_t count, unsigned int base,
			 unsigned int *result);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PARSE_H */
