// SPDX-License-Identifier: GPL-2.0
/*
 * Stands in for the collector of long IO waits, which a stock kernel does not have. It fills the
 * tail of zem's snapshot with a known pattern while "long_iowait" is 1, and clears it once after
 * "long_iowait" is set back to 0.
 */
#include <linux/debugfs.h>
#include <linux/export.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/mutex.h>
#include <linux/string.h>

#include <linux/zem.h>

#include "contract.h"
#include "parts.h"

static DEFINE_MUTEX(tail_lock);
static bool filling;
static bool to_clear;

void gather_long_iowait_file(void *kioind)
{
	struct zem_kio *snapshot = kioind;

	mutex_lock(&tail_lock);
	if (filling)
		for (size_t i = 0; i < sizeof(snapshot->tail); i++)
			snapshot->tail[i] = 7 * i + 3;
	else if (to_clear)
		memset(snapshot->tail, 0, sizeof(snapshot->tail));
	to_clear = filling;
	mutex_unlock(&tail_lock);
}
EXPORT_SYMBOL_GPL(gather_long_iowait_file);

static int long_iowait_get(void *data, u64 *value)
{
	*value = filling;
	return 0;
}

static int long_iowait_set(void *data, u64 value)
{
	if (value > 1)
		return -EINVAL;
	mutex_lock(&tail_lock);
	filling = value;
	mutex_unlock(&tail_lock);
	return 0;
}
DEFINE_DEBUGFS_ATTRIBUTE(long_iowait_fops, long_iowait_get, long_iowait_set, "%llu\n");

void long_iowait_init(struct dentry *directory)
{
	debugfs_create_file("long_iowait", 0644, directory, NULL, &long_iowait_fops);
}
