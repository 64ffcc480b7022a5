/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Pushes records into the ring buffer.
 * Context: any, including NMI and under a run-queue lock. Does not sleep, allocate, or take a lock.
 */
#pragma once

#include "core/settings.h"
#include "kernel/api/ring_buffer.h"
#include "kernel/api/types.h"
#include "kernel/doorbell.h"
#include "kernel/relaxed.h"
#include "uapi/linux/zem.h"

namespace zem {

/* The ring buffer; null before start-up has created it and after shut-down has freed it. */
extern Relaxed<trace_buffer *> buffer;

/* Initial size of the ring buffer for each CPU, in bytes. */
inline constexpr unsigned long kRingBufferSize = 8192;

/* Batch number of new records: 1 after start-up, then the number written to "trigger". */
extern Relaxed<u32> train_number;

/* Rung once for each committed record. */
extern Doorbell data_ready;

/* push_record() while trace_on is 1. */
void push_traced_record(zem_channel channel, const void *data, int len, u32 sub_type);

/*
 * The body of every setter. Does nothing while trace_on is 0. A record that is too large or that
 * cannot be reserved is logged and dropped.
 */
[[gnu::always_inline]] inline void push_record(zem_channel channel, const void *data, int len,
					       u32 sub_type)
{
	if (trace_on.load())
		push_traced_record(channel, data, len, sub_type);
}

} /* namespace zem */
