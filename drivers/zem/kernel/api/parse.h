/* SPDX-License-Identifier: GPL-2.0 */
/* Numbers from text: sscanf() of <linux/sprintf.h>, <linux/kstrtox.h>. */
#ifndef _ZEM_KERNEL_API_PARSE_H
#define _ZEM_KERNEL_API_PARSE_H

#include "types.h"

ZEM_API_BEGIN

/* The kernel's: "%d" skips leading spaces, takes a '-' but no '+', and ignores what follows. */
int sscanf(const char *text, const char *fmt, ...) __attribute__((format(scanf, 2, 3)));

/* The whole text must be a number; one trailing newline is allowed. Return: 0 or an error. */
int kstrtoint(const char *text, unsigned int base, int *result);

int kstrtoll(const char *text, unsigned int base, long long *result);

/* The same of a text in user space, of which the first 34 bytes are looked at. May sleep. */
int kstrtouint_from_user(const char *user_text, size_t count, unsigned int base,
			 unsigned int *result);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_PARSE_H */
