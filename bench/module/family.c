// SPDX-License-Identifier: GPL-2.0
/* Keeps the two files of /sys/zem open that switch and collect a family. */
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/string.h>

#include "family.h"

static struct file *trigger, *interval;

static void write_text(struct file *file, const char *text)
{
	loff_t start = 0;

	if (kernel_write(file, text, strlen(text), &start) < 0)
		pr_err_once("zem_bench: a write to /sys/zem failed, the figures are wrong\n");
}

static struct file *open_control(const char *name)
{
	char path[64];

	snprintf(path, sizeof(path), "/sys/zem/%s", name);
	return filp_open(path, O_WRONLY, 0);
}

int family_open(const char *name)
{
	trigger = open_control("trigger");
	interval = open_control(name);
	if (!IS_ERR(trigger) && !IS_ERR(interval))
		return 0;
	family_close();
	return -ENODEV;
}

void family_close(void)
{
	if (!IS_ERR_OR_NULL(interval)) {
		family_off();
		filp_close(interval, NULL);
	}
	if (!IS_ERR_OR_NULL(trigger))
		filp_close(trigger, NULL);
	interval = NULL;
	trigger = NULL;
}

void family_on(void)
{
	write_text(interval, "1");
}

void family_off(void)
{
	write_text(interval, "0");
}

void collect(unsigned long unused)
{
	write_text(trigger, "1");
}
