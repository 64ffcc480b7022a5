/* SPDX-License-Identifier: GPL-2.0 */
/* USB devices and failing buffers, as the platform passes them to its hook. */
#pragma once

#include <optional>
#include <string>

#include "block.h"

struct usb_device {
	std::string speed = "high-speed";
	u16 vendor = 0x1a2b;
	u16 product = 0x3c4d;
	std::optional<std::string> manufacturer_name{"maker"};
	std::optional<std::string> product_name{"stick"};
};

struct buffer_head {
	block_device *device;
	u64 block;
};
