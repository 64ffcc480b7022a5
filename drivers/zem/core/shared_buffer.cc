// SPDX-License-Identifier: GPL-2.0
/* The shared buffer. The consumer fills it, and readers of /sys/zem empty it. */
#include "core/shared_buffer.h"

#include "kernel/api/miscdevice.h"
#include "kernel/api/printk.h"
#include "kernel/api/slab.h"
#include "kernel/errno.h"
#include "kernel/lock.h"
#include "kernel/relaxed.h"

namespace zem {

constinit Completion tmp_data_done;

/* Bytes in use. Written under buffer_lock, checked without it. */
constinit Relaxed<u32> current_data_len{0};

namespace {

constinit Mutex buffer_lock;

/* Guarded by buffer_lock. */
constinit u8 *zem_buffer_sum = nullptr;

} /* namespace */

void shared_buffer_init()
{
	buffer_lock.init("zem_buffer_lock");
	tmp_data_done.init();
}

int shared_buffer_alloc()
{
	auto *memory = static_cast<u8 *>(helper_kzalloc(ZEM_SHARED_SIZE));
	if (!memory)
		return -ENOMEM;

	LockGuard guard(buffer_lock);
	zem_buffer_sum = memory;
	current_data_len.store(0);
	return 0;
}

void shared_buffer_free()
{
	LockGuard guard(buffer_lock);
	kfree(zem_buffer_sum);
	zem_buffer_sum = nullptr;
	current_data_len.store(0);
}

Append shared_buffer_append(const void *record, u32 size)
{
	LockGuard guard(buffer_lock);
	const u32 used = current_data_len.load();
	if (used + size >= ZEM_SHARED_SIZE)
		return Append::kNoRoom;

	__builtin_memcpy(zem_buffer_sum + used, record, size);
	current_data_len.store(used + size);
	return used + size > ZEM_NOTIFY_LEVEL ? Append::kAboveNotifyLevel : Append::kDone;
}

u32 shared_buffer_hand_back()
{
	if (current_data_len.load() > ZEM_SHARED_SIZE) {
		pr_err("data len is out of memory\n");
		current_data_len.store(ZEM_SHARED_SIZE);
	}

	/*
	 * Signals under the lock: a record that is appended after this hand-back must not have its
	 * notification answered by it.
	 */
	LockGuard guard(buffer_lock);
	const u32 used = current_data_len.load();
	if (used) {
		current_data_len.store(0);
		__builtin_memset(zem_buffer_sum, 0, ZEM_SHARED_SIZE);
	}
	tmp_data_done.signal();
	return used;
}

unsigned long shared_buffer_pfn()
{
	LockGuard guard(buffer_lock);
	return helper_virt_to_pfn(zem_buffer_sum);
}

} /* namespace zem */
