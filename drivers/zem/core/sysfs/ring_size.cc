// SPDX-License-Identifier: GPL-2.0
/* /sys/zem/rb_size: the size of the ring buffer for each CPU, in bytes. */
#include "core/sysfs/ring_size.h"

#include "core/records.h"
#include "kernel/api/cpumask.h"
#include "kernel/api/parse.h"
#include "kernel/api/printk.h"
#include "kernel/errno.h"

namespace zem {

namespace {

constexpr int kSmallest = 4096;
constexpr int kLargest = 1048576;

} /* namespace */

/* Logs the size of every online CPU, and returns that of the last one. */
ssize_t rb_size_show(kobject *, kobj_attribute *, char *page)
{
	trace_buffer *ring = buffer.load();
	int size = 0;

	for (unsigned int cpu = 0; ring && cpu < helper_nr_cpu_ids(); cpu++) {
		if (!helper_cpu_online(cpu))
			continue;
		size = static_cast<int>(ring_buffer_size(ring, static_cast<int>(cpu)));
		pr_info("cpu %d rb_size = %d\n", static_cast<int>(cpu), size);
	}
	return sysfs_emit(page, "%d\n", size);
}

/* A failed resize is only logged. */
ssize_t rb_size_store(kobject *, kobj_attribute *, const char *text, size_t count)
{
	int size;
	if (sscanf(text, "%d", &size) != 1 || size < kSmallest || size > kLargest)
		return -EINVAL;

	/* Resizing succeeds while there is no ring buffer. */
	if (helper_ring_buffer_resize_all(buffer.load(), static_cast<unsigned long>(size)) < 0)
		pr_err("ringbuffer resize fail\n");
	return static_cast<ssize_t>(count);
}

} /* namespace zem */
