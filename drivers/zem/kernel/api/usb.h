/* SPDX-License-Identifier: GPL-2.0 */
/* Subjects of USB and disk events: <linux/usb.h>, <linux/buffer_head.h>. Context: any. */
#ifndef _ZEM_KERNEL_API_USB_H
#define _ZEM_KERNEL_API_USB_H

#include "types.h"

ZEM_API_BEGIN

struct block_device;
struct buffer_head;
struct usb_device;

/* The strings belong to the device. */
struct usb_device_view {
	const char *speed;
	u16 vendor;
	u16 product;
	const char *manufacturer_name; /* NULL without one */
	const char *product_name; /* NULL without one */
};

void helper_usb_device_view(const struct usb_device *device, struct usb_device_view *view);

struct block_device *helper_buffer_device(const struct buffer_head *buffer);
u64 helper_buffer_block(const struct buffer_head *buffer);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_USB_H */
