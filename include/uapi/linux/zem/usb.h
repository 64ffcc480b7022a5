/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/* Payload of the usb channel. */
#ifndef _UAPI_LINUX_ZEM_USB_H
#define _UAPI_LINUX_ZEM_USB_H

#include <linux/types.h>

#include "assert.h"

/* Values of the event field. */
#define ZEM_USB_NEW_DEVICE 0
#define ZEM_USB_NEW_DISK 1
#define ZEM_USB_IO_ERROR 2
#define ZEM_USB_DISCONNECT 10

/**
 * struct zem_usb - payload of the usb channel: an event, and the device that was seen last
 * @speed: the device's speed by name, NUL-terminated
 * @id_vendor: from the device's descriptor
 * @id_product: from the device's descriptor
 * @manufacturer: NUL-terminated only if shorter than the field; "unknow" if the device has none
 * @product: NUL-terminated only if shorter than the field; "unknow" if the device has none
 * @event: one of ZEM_USB_*
 * @message: the event as text, NUL-terminated; bytes after the NUL have no meaning
 */
struct zem_usb {
	char speed[32];
	__u16 id_vendor;
	__u16 id_product;
	char manufacturer[32];
	char product[32];
	__u32 event;
	char message[128];
};

ZEM_ASSERT_SIZE(zem_usb, 232);
ZEM_ASSERT_OFFSET(zem_usb, speed, 0);
ZEM_ASSERT_OFFSET(zem_usb, id_vendor, 32);
ZEM_ASSERT_OFFSET(zem_usb, id_product, 34);
ZEM_ASSERT_OFFSET(zem_usb, manufacturer, 36);
ZEM_ASSERT_OFFSET(zem_usb, product, 68);
ZEM_ASSERT_OFFSET(zem_usb, event, 100);
ZEM_ASSERT_OFFSET(zem_usb, message, 104);

#endif /* _UAPI_LINUX_ZEM_USB_H */
