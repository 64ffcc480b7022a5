// SPDX-License-Identifier: GPL-2.0
/* The macros of <linux/ring_buffer.h>. */
#include <linux/ring_buffer.h>

#include "../api/ring_buffer.h"

struct trace_buffer *helper_ring_buffer_alloc_overwrite(unsigned long size)
{
	return ring_buffer_alloc(size, RB_FL_OVERWRITE);
}

int helper_ring_buffer_resize_all(struct trace_buffer *buffer, unsigned long size)
{
	return ring_buffer_resize(buffer, size, RING_BUFFER_ALL_CPUS);
}
