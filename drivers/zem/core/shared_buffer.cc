// SPDX-License-Identifier: GPL-2.0
/* The shared buffer. The consumer fills it, and readers of /sys/zem empty it. */
#include "core/shared_buffer.h"

#include "kernel/api/miscdevice.h"
#include "kernel/api/printk.h"
#include "kernel/api/slab.h"
#include "kernel/errno.h"
#include "kernel/guarded.h"

namespace zem {

constinit Completion tmp_data_done;
constinit Guarded<SharedBuffer, Mutex> shared_buffer;

void shared_buffer_init()
{
	shared_buffer.init("zem_buffer_lock");
	tmp_data_done.init();
}

int shared_buffer_alloc()
{
	auto *memory = static_cast<u8 *>(helper_kzalloc(ZEM_SHARED_SIZE));
	if (!memory)
		return -ENOMEM;
	shared_buffer.with([&](SharedBuffer &buffer) { buffer = {memory, 0}; });
	return 0;
}

void shared_buffer_free()
{
	shared_buffer.with([](SharedBuffer &buffer) {
		kfree(buffer.zem_buffer_sum);
		buffer = {};
	});
}

Append shared_buffer_append(const void *record, u32 size)
{
	return shared_buffer.with([&](SharedBuffer &buffer) {
		const u32 used = buffer.current_data_len;
		if (used + size >= ZEM_SHARED_SIZE)
			return Append::kNoRoom;

		__builtin_memcpy(buffer.zem_buffer_sum + used, record, size);
		buffer.current_data_len = used + size;
		return used + size > ZEM_NOTIFY_LEVEL ? Append::kAboveNotifyLevel : Append::kDone;
	});
}

/*
 * Signals under the lock: this hand-back must not answer the notification of a record that is
 * appended after it.
 */
u32 shared_buffer_hand_back()
{
	return shared_buffer.with([](SharedBuffer &buffer) {
		if (buffer.current_data_len > ZEM_SHARED_SIZE) {
			pr_err("data len is out of memory\n");
			buffer.current_data_len = ZEM_SHARED_SIZE;
		}
		const u32 used = buffer.current_data_len;
		if (used) {
			buffer.current_data_len = 0;
			__builtin_memset(buffer.zem_buffer_sum, 0, ZEM_SHARED_SIZE);
		}
		tmp_data_done.signal();
		return used;
	});
}

unsigned long shared_buffer_pfn()
{
	return shared_buffer.with(
		[](SharedBuffer &buffer) { return helper_virt_to_pfn(buffer.zem_buffer_sum); });
}

} /* namespace zem */
