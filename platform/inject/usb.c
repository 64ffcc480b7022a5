// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hook of USB events:
 *
 *	vh_usb_zem_set 0|10 VENDOR PRODUCT "MAKER" "NAME" SPEED
 *	vh_usb_zem_set 1
 *	vh_usb_zem_set 2 DEVICE BLOCK
 *	vh_usb_zem_set TYPE null
 *
 * The ids are in hex, - is a string that the device lacks, and SPEED is the speed's name. The
 *device, or the buffer of the block, is created for the call.
 */
#include <linux/blkdev.h>
#include <linux/buffer_head.h>
#include <linux/kernel.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/usb.h>

#include "contract/block_devices.h"
#include "contract/usb_events.h"
#include "injection.h"

struct made_event {
	int type;
	void *pointer; /* to device or buffer, or NULL */
	struct usb_device device;
	struct buffer_head buffer;
};

/* Indexed by enum usb_device_speed. */
static const char *const speeds[] = {
	"UNKNOWN",  "low-speed",   "full-speed",       "high-speed",
	"wireless", "super-speed", "super-speed-plus",
};

static int make_string(const char *word, char **string)
{
	if (!strcmp(word, "-"))
		return 0;
	*string = kstrdup(word, GFP_KERNEL);
	return *string ? 0 : -ENOMEM;
}

/* VENDOR PRODUCT MAKER NAME SPEED */
static int make_device(struct made_event *event, char *const *words)
{
	struct usb_device *device = &event->device;
	u16 vendor, product;
	int speed = match_string(speeds, ARRAY_SIZE(speeds), words[4]);
	int error;

	if (kstrtou16(words[0], 16, &vendor) || kstrtou16(words[1], 16, &product) || speed < 0)
		return -EINVAL;
	device->descriptor.idVendor = cpu_to_le16(vendor);
	device->descriptor.idProduct = cpu_to_le16(product);
	device->speed = speed;
	event->pointer = device;
	error = make_string(words[2], &device->manufacturer);
	return error ?: make_string(words[3], &device->product);
}

/* DEVICE BLOCK */
static int make_buffer(struct made_event *event, struct injection *injection, char *const *words)
{
	u64 block;
	int error;

	if (kstrtou64(words[1], 10, &block))
		return -EINVAL;
	error = block_device_find(words[0], &injection->device);
	if (error)
		return error;
	event->buffer.b_bdev = injection->device;
	event->buffer.b_blocknr = block;
	event->pointer = &event->buffer;
	return 0;
}

static int prepare(struct injection *injection, char *const *words, int count)
{
	struct made_event *event = kzalloc(sizeof(*event), GFP_KERNEL);

	if (!event)
		return -ENOMEM;
	injection->object = event;
	if (!count || kstrtoint(words[0], 10, &event->type))
		return -EINVAL;
	if (count == 2 && !strcmp(words[1], "null"))
		return 0;
	if (count == 1 && event->type == USB_EVENT_DISK)
		return 0;
	if (count == 3 && event->type == USB_EVENT_IO_ERROR)
		return make_buffer(event, injection, words + 1);
	if (count == 6 && (event->type == USB_EVENT_ADD || event->type == USB_EVENT_REMOVE))
		return make_device(event, words + 1);
	return -EINVAL;
}

static void raise(const struct injection *injection)
{
	const struct made_event *event = injection->object;

	usb_event_raise(event->pointer, event->type);
}

static void release(struct injection *injection)
{
	struct made_event *event = injection->object;

	if (!event)
		return;
	kfree(event->device.manufacturer);
	kfree(event->device.product);
	kfree(event);
}

const struct hook usb_hooks[] = {
	{"vh_usb_zem_set", NULL, raise, .prepare = prepare, .release = release},
	{},
};
