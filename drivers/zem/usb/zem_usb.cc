// SPDX-License-Identifier: GPL-2.0
/*
 * A report of the last device, sent with each event. Events without a device refer to that device.
 * After its disconnect there is none, and such events are dropped.
 */
#include "usb/zem_usb.h"

#include "kernel/api/bug.h"
#include "kernel/api/printk.h"
#include "kernel/api/string.h"
#include "kernel/api/usb.h"
#include "kernel/guarded.h"
#include "kernel/tracepoint.h"
#include "linux/zem.h"
#include "platform/contract.h"

namespace zem {

namespace {

/*
 * All zero while there is no device. Events occur in any context and on several CPUs concurrently.
 */
constinit Guarded<zem_usb, RawSpinLock> usb_report_data;
constinit lock_class_key report_class{};

bool has_device(const zem_usb &report)
{
	return report.id_vendor != 0;
}

/* A name that has the length of the field or more fills it without a terminator. */
void copy_name(char (&field)[32], const char *name)
{
	for (size_t i = 0; i < sizeof(field) && name[i]; i++)
		field[i] = name[i];
}

/* A speed with a longer name is a BUG(), which must not be raised with a lock held. */
usb_device_view view_of(const usb_device *device)
{
	usb_device_view view;
	helper_usb_device_view(device, &view);
	if (__builtin_strlen(view.speed) >= sizeof(zem_usb::speed))
		helper_bug();
	return view;
}

void fill_identity(zem_usb &report, const usb_device_view &view)
{
	const char kUnknown[] = "unknow";

	__builtin_memcpy(report.speed, view.speed, __builtin_strlen(view.speed) + 1);
	report.id_vendor = view.vendor;
	report.id_product = view.product;
	__builtin_memset(report.manufacturer, 0, sizeof(report.manufacturer));
	__builtin_memset(report.product, 0, sizeof(report.product));
	copy_name(report.manufacturer, view.manufacturer_name ? view.manufacturer_name : kUnknown);
	copy_name(report.product, view.product_name ? view.product_name : kUnknown);
}

void send(zem_usb &report, u32 event)
{
	report.event = event;
	usb_zem_set(0, &report, sizeof(report), 0);
}

/* Bytes after the text stay from earlier events. */
template <size_t kSize>
void send(zem_usb &report, u32 event, const char (&message)[kSize])
{
	static_assert(kSize <= sizeof(zem_usb::message));
	__builtin_memcpy(report.message, message, kSize);
	send(report, event);
}

void report_new_disk(zem_usb &report)
{
	if (has_device(report))
		send(report, ZEM_USB_NEW_DISK, "Attached new SCSI disk");
}

void report_io_error(zem_usb &report, const buffer_head *failing)
{
	if (!failing || !has_device(report))
		return;
	snprintf(report.message, sizeof(report.message),
		 "Buffer I/O error on dev %pg, logical block %llu", helper_buffer_device(failing),
		 helper_buffer_block(failing));
	send(report, ZEM_USB_IO_ERROR);
}

void report_new_device(zem_usb &report, const usb_device_view &device)
{
	fill_identity(report, device);
	send(report, ZEM_USB_NEW_DEVICE, "New device found");
}

void report_disconnect(zem_usb &report, const usb_device_view &device)
{
	fill_identity(report, device);
	send(report, ZEM_USB_DISCONNECT, "USB disconnect");
	__builtin_memset(&report, 0, sizeof(report));
}

/* @type determines the type of @ptr, and whether it is required. */
void android_vh_usb_hook_zem_set(void *, void *ptr, int type)
{
	const bool names_device = type == ZEM_USB_NEW_DEVICE || type == ZEM_USB_DISCONNECT;
	if (names_device && !ptr) {
		pr_err("%s: data is null! \n", __func__);
		return;
	}

	usb_device_view device{};
	if (names_device)
		device = view_of(static_cast<const usb_device *>(ptr));

	usb_report_data.with([&](zem_usb &report) {
		switch (type) {
		case ZEM_USB_NEW_DEVICE:
			report_new_device(report, device);
			break;
		case ZEM_USB_NEW_DISK:
			report_new_disk(report);
			break;
		case ZEM_USB_IO_ERROR:
			report_io_error(report, static_cast<const buffer_head *>(ptr));
			break;
		case ZEM_USB_DISCONNECT:
			report_disconnect(report, device);
			break;
		default:
			break;
		}
	});
}

} /* namespace */

int zem_usb_init()
{
	usb_report_data.init("zem_usb_report", report_class);
	tracepoint_probe_register(&__tracepoint_android_vh_usb_zem_set,
				  probe(android_vh_usb_hook_zem_set), nullptr);
	return 0;
}

} /* namespace zem */
