/* SPDX-License-Identifier: GPL-2.0 */
/* The trace ring buffer: <linux/ring_buffer.h>. */
#ifndef _ZEM_KERNEL_API_RING_BUFFER_H
#define _ZEM_KERNEL_API_RING_BUFFER_H

#include "types.h"

ZEM_API_BEGIN

struct trace_buffer;
struct ring_buffer_event;

/*
 * @size: bytes for each CPU. The oldest events make room for new ones.
 * May sleep. Return: NULL without memory.
 */
struct trace_buffer *helper_ring_buffer_alloc_overwrite(unsigned long size);
void ring_buffer_free(struct trace_buffer *buffer);

/*
 * Any context; between a successful reservation and its commit or discard preemption is off.
 * Return: NULL if @length is too large or the buffer can't be written to at this moment.
 */
struct ring_buffer_event *ring_buffer_lock_reserve(struct trace_buffer *buffer,
						   unsigned long length);
int ring_buffer_unlock_commit(struct trace_buffer *buffer);
void ring_buffer_discard_commit(struct trace_buffer *buffer, struct ring_buffer_event *event);

/* Return: where the event's bytes are, aligned to 4 bytes. */
void *ring_buffer_event_data(struct ring_buffer_event *event);

/*
 * Takes the oldest event of @cpu; one reader for each CPU. @ts and @lost_events may be NULL.
 * Return: NULL if there is none. The event stays readable until the reader's next call.
 */
struct ring_buffer_event *ring_buffer_consume(struct trace_buffer *buffer, int cpu, u64 *ts,
					      unsigned long *lost_events);
unsigned long ring_buffer_entries_cpu(struct trace_buffer *buffer, int cpu);

/* Any context. Return: events of @cpu that were committed, then overwritten; or that were read. */
unsigned long ring_buffer_overrun_cpu(struct trace_buffer *buffer, int cpu);
unsigned long ring_buffer_read_events_cpu(struct trace_buffer *buffer, int cpu);

/* Return: bytes of @cpu's part. */
unsigned long ring_buffer_size(struct trace_buffer *buffer, int cpu);

/* May sleep. @size: bytes for each CPU. Return: 0, also for a NULL @buffer, or an error code. */
int helper_ring_buffer_resize_all(struct trace_buffer *buffer, unsigned long size);

ZEM_API_END

#endif /* _ZEM_KERNEL_API_RING_BUFFER_H */
