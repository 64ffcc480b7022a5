// SPDX-License-Identifier: GPL-2.0
/*
 * The floor of a setter: the reservation, the clock, the header, the copy, the commit and the
 * signal, in plain C, with a buffer of the size of zem's and without a consumer.
 */
#include <linux/completion.h>
#include <linux/cpumask.h>
#include <linux/ktime.h>
#include <linux/minmax.h>
#include <linux/ring_buffer.h>
#include <linux/string.h>

#include <linux/zem.h>

#include "../../drivers/zem/kernel/api/ring_buffer.h"
#include "bench.h"

static int trace_on = 1;
static u32 train_number = 1;
static struct trace_buffer *buffer;
static struct completion data_ready;

int floor_begin(const int *numbers, unsigned int count)
{
	init_completion(&data_ready);
	buffer = ring_buffer_alloc(8192, RB_FL_OVERWRITE);
	return buffer ? 0 : -ENOMEM;
}

void floor_end(void)
{
	ring_buffer_free(buffer);
}

void floor_set(unsigned long long reserved, const void *data, int len, unsigned int sub_type)
{
	struct ring_buffer_event *event;
	struct zem_record_header *header;
	struct timespec64 now;

	if (!READ_ONCE(trace_on))
		return;
	event = ring_buffer_lock_reserve(buffer, len + sizeof(*header));
	if (!event)
		return;
	header = ring_buffer_event_data(event);
	header->len = len;
	header->channel = ZEM_CHANNEL_TEST;
	header->sub_type = sub_type;
	header->train_number = train_number;
	ktime_get_real_ts64(&now);
	header->timestamp = now.tv_sec * 1000000000ULL + now.tv_nsec;
	memcpy(header + 1, data, len);
	if (READ_ONCE(trace_on) && READ_ONCE(buffer)) {
		helper_ring_buffer_unlock_commit(buffer, event);
		complete(&data_ready);
	}
}

size_t floor_take_record(void *record, size_t room)
{
	struct ring_buffer_event *event;
	size_t size = 0;
	int cpu;

	for_each_online_cpu(cpu)
	{
		while ((event = ring_buffer_consume(buffer, cpu, NULL, NULL))) {
			size = min_t(size_t, ring_buffer_event_length(event), room);
			memcpy(record, ring_buffer_event_data(event), size);
		}
	}
	return size;
}
