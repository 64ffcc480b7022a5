// SPDX-License-Identifier: GPL-2.0
/*
 * Implements the two providers that zem calls: a memory-indicator block of known bytes, and a
 * display module that counts its calls. "kmem" and "display" switch them on and off, also while zem
 * is not loaded.
 */
#include <linux/atomic.h>
#include <linux/debugfs.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/mutex.h>
#include <linux/seq_file.h>

#include <linux/zem.h>

#include "parts.h"

static DEFINE_MUTEX(providers_lock);
static bool kmem_on;
static bool display_on;
/* The addresses of zem's pointers to its providers; NULL while zem is not loaded. */
static void *(**kmem_place)(void);
static void (**display_place)(int interval);

static struct zem_kmem kmem_block;
static atomic_t display_calls;
static int display_interval;

/* Byte i is the low byte of 3 i + 1. zem clears the block, so each call fills it. */
static void *get_kmem(void)
{
	for (size_t i = 0; i < sizeof(kmem_block.data); i++)
		kmem_block.data[i] = 3 * i + 1;
	return &kmem_block;
}

static void update_display(int interval)
{
	WRITE_ONCE(display_interval, interval);
	atomic_inc(&display_calls);
}

/* Caller holds providers_lock. */
static void put_in_place(void)
{
	if (kmem_place)
		WRITE_ONCE(*kmem_place, kmem_on ? get_kmem : NULL);
	if (display_place)
		WRITE_ONCE(*display_place, display_on ? update_display : NULL);
}

void providers_attach(void *(**kmem)(void), void (**display)(int interval))
{
	mutex_lock(&providers_lock);
	kmem_place = kmem;
	display_place = display;
	put_in_place();
	mutex_unlock(&providers_lock);
}

void providers_detach(void)
{
	mutex_lock(&providers_lock);
	kmem_place = NULL;
	display_place = NULL;
	mutex_unlock(&providers_lock);
}

static int switch_get(void *data, u64 *value)
{
	*value = *(bool *)data;
	return 0;
}

static int switch_set(void *data, u64 value)
{
	if (value > 1)
		return -EINVAL;
	mutex_lock(&providers_lock);
	*(bool *)data = value;
	put_in_place();
	mutex_unlock(&providers_lock);
	return 0;
}
DEFINE_DEBUGFS_ATTRIBUTE(switch_fops, switch_get, switch_set, "%llu\n");

/* Shows the number of calls of the display provider and the interval of the last one. */
static int display_calls_show(struct seq_file *file, void *unused)
{
	seq_printf(file, "%d %d\n", atomic_read(&display_calls), READ_ONCE(display_interval));
	return 0;
}
DEFINE_SHOW_ATTRIBUTE(display_calls);

void providers_init(struct dentry *directory)
{
	debugfs_create_file("kmem", 0644, directory, &kmem_on, &switch_fops);
	debugfs_create_file("display", 0644, directory, &display_on, &switch_fops);
	debugfs_create_file("display_calls", 0444, directory, NULL, &display_calls_fops);
}
