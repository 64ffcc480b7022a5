// SPDX-License-Identifier: GPL-2.0
/*
 * The 21 channel files. Reading any of them hands the shared buffer back. Writing pushes one record
 * on the channel with the file's name.
 */
#include "core/sysfs/channel_files.h"

#include "core/channels.h"
#include "core/shared_buffer.h"
#include "kernel/api/printk.h"
#include "kernel/errno.h"

namespace zem {

/* Returns the number of pending bytes as a 4-byte integer, not as text; no bytes if there were
 * none. */
ssize_t zem_show(kobject *, kobj_attribute *, char *page)
{
	const u32 used = shared_buffer_hand_back();
	if (!used)
		return 0;
	__builtin_memcpy(page, &used, sizeof(used));
	return sizeof(used);
}

/* The payload is the written text, including NUL bytes. sysfs keeps it alive during the call. */
ssize_t store_record(zem_channel channel, const char *text, size_t count)
{
	if (count > ZEM_STORE_MAX) {
		pr_err("buf len limit \n");
		return -EINVAL;
	}
	zem[channel].set(0, text, static_cast<int>(count), 0);
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
