/* SPDX-License-Identifier: GPL-2.0 */
/* The trace ring buffer: <linux/ring_buffer.h>. */
#ifndef _ZEM_KERNEL_API_RING_BUFFER_H
#define _ZEM_KERNEL_API_RING_BUFFER_H

#include "types.h"

ZEM_API_BEGIN

struct trace_buffer;
struct ring_buffer_event;

/*
 * Allocates a buffer of @size bytes for each CPU, in which new events overwrite the oldest.
 * Context: may sleep. Return: NULL without memory.
 */
struct trace_buffer *helper_ring_buffer_alloc_overwrite(unsigned long size);
void ring_buffer_free(struct trace_buffer *buffer);

/*
 * Context: any. Preemption is off from a successful reservation to its commit or discard.
 * Return: NULL if @length is too large, or if the buffer cannot be written to now.
 */
struct ring_buffer_event *ring_buffer_lock_reserve(struct trace_buffer *buffer,
						   unsigned long length);
/* Use helper_ring_buffer_unlock_commit(). Before 6.3 the function takes the event too. */
#ifdef KERNEL_COMMIT_TAKES_EVENT
int ring_buffer_unlock_commit(struct trace_buffer *buffer, struct ring_buffer_event *event);
#else
int ring_buffer_unlock_commit(struct trace_buffer *buffer);
#endif
void ring_buffer_discard_commit(struct trace_buffer *buffer, struct ring_buffer_event *event);

/* Return: the event's bytes, aligned to 4 bytes. */
void *ring_buffer_event_data(struct ring_buffer_event *event);

/*
 * Consumes the oldest event of @cpu. Only one reader for each CPU. @ts and @lost_events may be
 * NULL. Return: NULL if there is none. The event can be read until the reader's next call.
 */
struct ring_buffer_event *ring_buffer_consume(struct trace_buffer *buffer, int cpu, u64 *ts,
					      unsigned long *lost_events);
unsigned long ring_buffer_entries_cpu(struct trace_buffer *buffer, int cpu);

/* Return: the number of @cpu's events that were overwritten, or read. Context: any. */
unsigned long ring_buffer_overrun_cpu(struct trace_buffer *buffer, int cpu);
unsigned long ring_buffer_read_events_cpu(struct trace_buffer *buffer, int cpu);

/* Return: the size of @cpu's buffer in bytes. */
unsigned long ring_buffer_size(struct trace_buffer *buffer, int cpu);

/*
 * Sets the size for each CPU, in bytes. Context: may sleep.
 * Return: 0, also for a NULL @buffer, or an error code.
 */
int helper_ring_buffer_resize_all(struct trace_buffer *buffer, unsigned long size);

/* An inline function rather than a helper, which would cost each record a call. */
static inline int helper_ring_buffer_unlock_commit(struct trace_buffer *buffer,
						   struct ring_buffer_event *event)
{
#ifdef KERNEL_COMMIT_TAKES_EVENT
	return ring_buffer_unlock_commit(buffer, event);
#else
	(void)event;
	return ring_buffer_unlock_commit(buffer);
#endif
}

ZEM_API_END

#endif /* _ZEM_KERNEL_API_RING_BUFFER_H */
