/* SPDX-License-Identifier: GPL-2.0 */
/* Block devices by number, without opening them. All of it may sleep. */
#ifndef _ZEM_PLATFORM_BLOCK_DEVICES_H
#define _ZEM_PLATFORM_BLOCK_DEVICES_H

#include <linux/types.h>

struct block_device;

/*
 * Holds a device and the module of its driver. Return: NULL when there is none. What was returned
 * is given back with block_device_put().
 */
struct block_device *block_device_get(dev_t number);

/* The same by what a user calls it, a path or MAJOR:MINOR. Return: 0, -EINVAL, -ENOENT, ... */
int block_device_find(const char *word, struct block_device **device);

void block_device_put(struct block_device *device);

/* Gives back what was kept for zem, which has gone. */
void block_devices_release(void);

#endif /* _ZEM_PLATFORM_BLOCK_DEVICES_H */
