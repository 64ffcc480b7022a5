// SPDX-License-Identifier: GPL-2.0
/* Fields of the types of <linux/usb.h> and <linux/buffer_head.h>. */
#include <linux/buffer_head.h>
#include <linux/usb.h>
#include <linux/usb/ch9.h>

#include "../api/usb.h"

void helper_usb_device_view(const struct usb_device *device, struct usb_device_view *view)
{
	*view = (struct usb_device_view){
		.speed = usb_speed_string(device->speed),
		.vendor = le16_to_cpu(device->descriptor.idVendor),
		.product = le16_to_cpu(device->descriptor.idProduct),
		.manufacturer_name = device->manufacturer,
		.product_name = device->product,
	};
}

struct block_device *helper_buffer_device(const struct buffer_head *buffer)
{
	return buffer->b_bdev;
}

u64 helper_buffer_block(const struct buffer_head *buffer)
{
	return buffer->b_blocknr;
}
