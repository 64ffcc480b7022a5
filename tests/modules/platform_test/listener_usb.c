// SPDX-License-Identifier: GPL-2.0
/* Listens on USB events: "usb" has a line for each event since the last write to "watch". */
#include <linux/blkdev.h>
#include <linux/buffer_head.h>
#include <linux/debugfs.h>
#include <linux/kernel.h>
#include <linux/llist.h>
#include <linux/module.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/spinlock.h>
#include <linux/usb.h>

#include "listener.h"

static DEFINE_SPINLOCK(text_lock);
static char text[8192];
static int length;

/* Caller holds text_lock. */
static void __printf(1, 2) append(const char *format, ...)
{
	va_list arguments;

	va_start(arguments, format);
	length += vscnprintf(text + length, sizeof(text) - length, format, arguments);
	va_end(arguments);
}

static void append_device(const struct usb_device *device)
{
	append(" %04x %04x <%s> <%s> %d", le16_to_cpu(device->descriptor.idVendor),
	       le16_to_cpu(device->descriptor.idProduct), device->manufacturer ?: "none",
	       device->product ?: "none", device->speed);
}

void on_android_vh_usb_zem_set(void *data, void *pointer, int type)
{
	const struct buffer_head *buffer = pointer;
	unsigned long flags;

	spin_lock_irqsave(&text_lock, flags);
	append("%d", type);
	if (pointer && (type == 0 || type == 10))
		append_device(pointer);
	else if (pointer && type == 2)
		append(" %pg %llu", buffer->b_bdev, (unsigned long long)buffer->b_blocknr);
	else if (pointer)
		append(" %s", "a pointer");
	append("\n");
	spin_unlock_irqrestore(&text_lock, flags);
}

void forget_usb(void)
{
	spin_lock_irq(&text_lock);
	length = 0;
	text[0] = '\0';
	spin_unlock_irq(&text_lock);
}

static int usb_show(struct seq_file *file, void *unused)
{
	spin_lock_irq(&text_lock);
	seq_write(file, text, length);
	spin_unlock_irq(&text_lock);
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(usb);

void create_usb_files(struct dentry *directory)
{
	debugfs_create_file("usb", 0444, directory, NULL, &usb_fops);
}
