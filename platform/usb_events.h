/* SPDX-License-Identifier: GPL-2.0 */
/* What happens to USB devices, as its hook is told. */
#ifndef _ZEM_PLATFORM_USB_EVENTS_H
#define _ZEM_PLATFORM_USB_EVENTS_H

/* With what the hook's pointer is to: a usb_device, nothing, a buffer_head, a usb_device. */
enum usb_event {
	USB_EVENT_ADD = 0,
	USB_EVENT_DISK = 1,
	USB_EVENT_IO_ERROR = 2,
	USB_EVENT_REMOVE = 10
};

/* Any context. Raises the hook for one event at a time. */
void usb_event_raise(void *pointer, int type);

#endif /* _ZEM_PLATFORM_USB_EVENTS_H */
