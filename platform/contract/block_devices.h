/* SPDX-License-Identifier: GPL-2.0 */
/* Finds block devices by number, without opening them. May sleep. */
#ifndef _ZEM_PLATFORM_BLOCK_DEVICES_H
#define _ZEM_PLATFORM_BLOCK_DEVICES_H

#include <linux/types.h>

struct block_device;

/*
 * Takes a reference on a device and on the module of its driver; block_device_put() drops both.
 * Return: NULL if there is no such device.
 */
struct block_device *block_device_get(dev_t number);

/* As block_device_get(), for a path or MAJOR:MINOR. Return: 0, -EINVAL, -ENOENT, ... */
int block_device_find(const char *word, struct block_device **device);

void block_device_put(struct block_device *device);

/* Drops the references that are held for zem, after it has been unloaded. */
void block_devices_release(void);

#endif /* _ZEM_PLATFORM_BLOCK_DEVICES_H */
