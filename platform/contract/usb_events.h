/* SPDX-License-Identifier: GPL-2.0 */
/* Raises the hook of USB events. */
#ifndef _ZEM_PLATFORM_USB_EVENTS_H
#define _ZEM_PLATFORM_USB_EVENTS_H

/* The hook's pointer is, in this order: a usb_device, NULL, a buffer_head, a usb_device. */
enum usb_event {
	USB_EVENT_ADD = 0,
	USB_EVENT_DISK = 1,
	USB_EVENT_IO_ERROR = 2,
	USB_EVENT_REMOVE = 10
};

/* Context: any. Raises the hook for one event at a time. */
void usb_event_raise(void *pointer, int type);

#endif /* _ZEM_PLATFORM_USB_EVENTS_H */
