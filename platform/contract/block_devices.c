// SPDX-License-Identifier: GPL-2.0
/*
 * Finds a block device without opening it, by the inode that every device has in the kernel's
 * block device file system. The kernel's own look-up is not exported.
 *
 * zem puts a device right after it got it, and keeps reading its statistics. So a reference on each
 * device and on its driver's module is held until zem is unloaded. The device may be unplugged
 * meanwhile, but it is not freed.
 */
#include <linux/blkdev.h>
#include <linux/device.h>
#include <linux/export.h>
#include <linux/fs.h>
#include <linux/kdev_t.h>
#include <linux/kernel.h>
#include <linux/kobject.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/slab.h>

#include "block_devices.h"
#include "contract.h"

struct kept_device {
	struct list_head list;
	struct block_device *device;
};

static DEFINE_MUTEX(kept_lock);
static LIST_HEAD(kept);

static struct module *driver_of(const struct block_device *device)
{
	return device->bd_disk->fops->owner;
}

struct block_device *block_device_get(dev_t number)
{
	struct inode *inode = ilookup(blockdev_superblock, number);
	struct block_device *device;

	if (!inode)
		return NULL;
	device = I_BDEV(inode);
	if (!kobject_get_unless_zero(&device->bd_device.kobj))
		device = NULL;
	iput(inode);
	/* The driver is being unloaded, and the device with it. */
	if (device && !try_module_get(driver_of(device))) {
		put_device(&device->bd_device);
		device = NULL;
	}
	return device;
}

int block_device_find(const char *word, struct block_device **device)
{
	unsigned int major, minor;
	dev_t number;
	char end;
	int error;

	if (*word == '/') {
		error = lookup_bdev(word, &number);
		if (error)
			return error;
	} else {
		if (sscanf(word, "%u:%u%c", &major, &minor, &end) != 2 || major > MINORMASK ||
		    minor > MINORMASK)
			return -EINVAL;
		number = MKDEV(major, minor);
	}
	*device = block_device_get(number);
	return *device ? 0 : -ENODEV;
}

void block_device_put(struct block_device *device)
{
	struct module *driver = driver_of(device);

	put_device(&device->bd_device);
	module_put(driver);
}

/* Caller holds kept_lock. */
static bool is_kept(const struct block_device *device)
{
	const struct kept_device *one;

	list_for_each_entry(one, &kept, list) {
		if (one->device == device)
			return true;
	}
	return false;
}

/* Return: whether the device was new to the list; then @one and the reference belong to the list.
 */
static bool keep(struct kept_device *one, struct block_device *device)
{
	bool is_new;

	mutex_lock(&kept_lock);
	is_new = !is_kept(device);
	if (is_new) {
		one->device = device;
		list_add(&one->list, &kept);
	}
	mutex_unlock(&kept_lock);
	return is_new;
}

struct block_device *platform_bdev_get_no_open(u32 number)
{
	struct kept_device *one = kmalloc(sizeof(*one), GFP_KERNEL);
	struct block_device *device = one ? block_device_get(number) : NULL;

	if (device && keep(one, device))
		return device;
	if (device)
		block_device_put(device);
	kfree(one);
	return device;
}
EXPORT_SYMBOL_GPL(platform_bdev_get_no_open);

void platform_bdev_put_no_open(struct block_device *device)
{
}
EXPORT_SYMBOL_GPL(platform_bdev_put_no_open);

void block_devices_release(void)
{
	struct kept_device *one, *next;

	mutex_lock(&kept_lock);
	list_for_each_entry_safe(one, next, &kept, list) {
		list_del(&one->list);
		block_device_put(one->device);
		kfree(one);
	}
	mutex_unlock(&kept_lock);
}
