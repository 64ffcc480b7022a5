/* SPDX-License-Identifier: GPL-2.0 */
/* Formats the text of a file below /proc without a reader. May sleep. */
#ifndef _ZEM_BENCH_REPORT_H
#define _ZEM_BENCH_REPORT_H

#include <linux/types.h>

struct file;

/* Return: the file, or an error pointer. */
struct file *report_open(const char *path);
void report_close(struct file *report);

/* Formats the text. Return: the terminated text; NULL if there is none. */
const char *report_text(struct file *report);

/* Sets @numbers to the last @count numbers of a file's text. Return: 0 or an error code. */
int report_last_numbers(const char *path, u64 *numbers, size_t count);

#endif /* _ZEM_BENCH_REPORT_H */
