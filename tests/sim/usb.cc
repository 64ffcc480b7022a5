// SPDX-License-Identifier: GPL-2.0
/* Fields of USB devices and buffers. */
#include "usb.h"

#include "kernel/api/usb.h"

namespace {

const char *text_of(const std::optional<std::string> &text)
{
	return text ? text->c_str() : nullptr;
}

} /* namespace */

void helper_usb_device_view(const struct usb_device *device, struct usb_device_view *view)
{
	*view = {
		.speed = device->speed.c_str(),
		.vendor = device->vendor,
		.product = device->product,
		.manufacturer_name = text_of(device->manufacturer_name),
		.product_name = text_of(device->product_name),
	};
}

struct block_device *helper_buffer_device(const struct buffer_head *buffer)
{
	return buffer->device;
}

u64 helper_buffer_block(const struct buffer_head *buffer)
{
	return buffer->block;
}
