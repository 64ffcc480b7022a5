// SPDX-License-Identifier: GPL-2.0
/*
 * Raises the hook of USB events: for devices that are plugged in and removed, except root hubs,
 * which are part of their host; for disks on USB that are added; and for each bio that fails on
 * such a disk, where the block layer logs the error.
 */
#include <linux/blk-mq.h>
#include <linux/blkdev.h>
#include <linux/buffer_head.h>
#include <linux/device.h>
#include <linux/device/class.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/notifier.h>
#include <linux/sched.h>
#include <linux/string.h>
#include <linux/usb.h>

#include <trace/events/block.h>

#include "common/compat.h"
#include "common/kernel_probes.h"
#include "contract/usb_events.h"
#include "sources.h"

static bool is_on_usb(const struct device *device)
{
	for (; device; device = device->parent)
		if (device->bus && !strcmp(device->bus->name, "usb"))
			return true;
	return false;
}

static int on_device(struct notifier_block *block, unsigned long event, void *data)
{
	struct usb_device *device = data;

	/* Other events concern a bus. */
	if (event != USB_DEVICE_ADD && event != USB_DEVICE_REMOVE)
		return NOTIFY_DONE;
	if (device->parent)
		usb_event_raise(device, event == USB_DEVICE_ADD ? USB_EVENT_ADD : USB_EVENT_REMOVE);
	return NOTIFY_OK;
}

static struct notifier_block device_watch = {.notifier_call = on_device};

/* The task that registers on_disk(), which is called for all existing disks then. */
static const struct task_struct *registering;

static int on_disk(ADD_DEV_PARAMETERS)
{
	if (current != registering && !bdev_is_partition(dev_to_bdev(device)) && is_on_usb(device))
		usb_event_raise(NULL, USB_EVENT_DISK);
	return 0;
}

static struct class_interface disk_watch = {.add_dev = on_disk};

/* Finds the class of block devices in a new disk, because the kernel does not export it. */
static int learn_disk_class(void)
{
	struct gendisk *disk;

	if (disk_watch.class)
		return 0;
	disk = allocate_disk();
	if (IS_ERR(disk))
		return PTR_ERR(disk);
	disk_watch.class = disk_to_dev(disk)->class;
	put_disk(disk);
	return 0;
}

static int watch_disks(void)
{
	int error = learn_disk_class();

	if (error)
		return error;
	WRITE_ONCE(registering, current);
	error = class_interface_register(&disk_watch);
	WRITE_ONCE(registering, NULL);
	return error;
}

static void report_error(struct block_device *device, sector_t sector)
{
	sector_t blocks = block_size(device) >> SECTOR_SHIFT;
	struct buffer_head buffer = {
		.b_bdev = device,
		.b_size = block_size(device),
	};

	sector_div(sector, blocks);
	buffer.b_blocknr = sector;
	usb_event_raise(&buffer, USB_EVENT_IO_ERROR);
}

/* A bio's sector counts from the start of the disk, even if it was submitted to a partition. */
static void on_request_error(void *data, struct request *request, blk_status_t status,
			     unsigned int bytes)
{
	struct gendisk *disk = request->q->disk;

	if (!disk || !is_on_usb(disk_to_dev(disk)))
		return;
	for (struct bio *bio = request->bio; bio; bio = bio->bi_next) {
		unsigned int failed = min(bio->bi_iter.bi_size, bytes);

		if (bio->bi_bdev)
			report_error(bio->bi_bdev,
				     bio->bi_iter.bi_sector - bio->bi_bdev->bd_start_sect);
		bytes -= failed;
		if (!bytes)
			break;
	}
}

static struct kernel_probe probes[] = {
	{.name = "block_rq_error", .probe = on_request_error},
};

int live_usb_start(void)
{
	int error;

	check_trace_callback_type_block_rq_error(on_request_error);

	error = watch_disks();
	if (error)
		return error;
	error = kernel_probes_attach(probes, ARRAY_SIZE(probes));
	if (error) {
		class_interface_unregister(&disk_watch);
		return error;
	}
	usb_register_notify(&device_watch);
	return 0;
}

void live_usb_stop(void)
{
	usb_unregister_notify(&device_watch);
	kernel_probes_detach(probes, ARRAY_SIZE(probes));
	class_interface_unregister(&disk_watch);
}
