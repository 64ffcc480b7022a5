/* SPDX-License-Identifier: GPL-2.0 */
/* Between the module's entry and files, which are C, and its cases, which are C++. */
#ifndef _ZEM_PARITY_TEST_H
#define _ZEM_PARITY_TEST_H

#include "../../../drivers/zem/kernel/api/types.h"

ZEM_API_BEGIN

/* Runs all cases and logs what failed. Context: process, on CPU 0. Return: the failures. */
int parity_run(void);

/* The file below /proc that is open; one at a time. Each returns a negative error code on failure.
 */
int parity_open(const char *name);
s64 parity_read(char *bytes, size_t count);
s64 parity_seek(s64 position);
void parity_close(void);

ZEM_API_END

#endif /* _ZEM_PARITY_TEST_H */
