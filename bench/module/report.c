// SPDX-License-Identifier: GPL-2.0
/* Calls the show function of an open file with a buffer that a read would have allocated. */
#include <linux/ctype.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/seq_file.h>
#include <linux/sizes.h>
#include <linux/slab.h>
#include <linux/vmalloc.h>

#include "report.h"

struct file *report_open(const char *path)
{
	struct file *report = filp_open(path, O_RDONLY, 0);
	struct seq_file *seq;

	if (IS_ERR(report))
		return report;
	seq = report->private_data;
	seq->size = SZ_64K;
	seq->buf = kvmalloc(seq->size, GFP_KERNEL);
	if (seq->buf)
		return report;
	filp_close(report, NULL);
	return ERR_PTR(-ENOMEM);
}

void report_close(struct file *report)
{
	filp_close(report, NULL);
}

const char *report_text(struct file *report)
{
	struct seq_file *seq = report->private_data;

	seq->count = 0;
	if (seq->op->show(seq, NULL) || !seq->count || seq_has_overflowed(seq))
		return NULL;
	seq->buf[seq->count] = '\0';
	return seq->buf;
}

/* Stores the numbers from the @skip-th on. Return: how many numbers the text has. */
static size_t parse_numbers(const char *text, u64 *numbers, size_t skip)
{
	size_t count = 0;

	while (*text) {
		u64 value = 0;

		if (!isdigit(*text)) {
			text++;
			continue;
		}
		for (; isdigit(*text); text++)
			value = value * 10 + (*text - '0');
		if (count >= skip)
			numbers[count - skip] = value;
		count++;
	}
	return count;
}

int report_last_numbers(const char *path, u64 *numbers, size_t count)
{
	struct file *report = report_open(path);
	const char *text;
	size_t all = 0;

	if (IS_ERR(report))
		return PTR_ERR(report);
	text = report_text(report);
	if (text)
		all = parse_numbers(text, NULL, SIZE_MAX);
	if (all >= count)
		parse_numbers(text, numbers, all - count);
	report_close(report);
	return all >= count ? 0 : -ENODATA;
}
