/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Records on their way into the ring buffer: what a producer's call does. Any context but an
 * NMI; nothing here sleeps, allocates or takes a lock of the module.
 */
#pragma once

#include "kernel/api/ring_buffer.h"
#include "kernel/api/types.h"
#include "kernel/completion.h"
#include "kernel/relaxed.h"
#include "uapi/linux/zem.h"

namespace zem {

/* The ring buffer; null until start-up has made it and after shut-down has freed it. */
extern Relaxed<trace_buffer *> buffer;

/* Bytes that the ring buffer has for each CPU at load. */
inline constexpr unsigned long kRingBufferSize = 8192;

/* Batch number of the records being made: 1 after start-up, then as written to "trigger". */
extern Relaxed<u32> train_number;

/* Signalled once for each committed record. */
extern Completion data_ready;

/* The type of the 21 exported setters, by which the collectors get theirs. */
using Setter = void (*)(u64 reserved, const void *data, int len, u32 sub_type);

/*
 * The steps of every setter: nothing while trace_on is 0; a record that is too large or can't
 * be reserved is logged and dropped.
 */
void push_record(zem_channel channel, const void *data, int len, u32 sub_type);

/*
 * One of the hub's own records, sub-type 0, its payload the bytes of @block. The same, but that
 * the size, fixed at build time, needs no check.
 */
void push_block(zem_channel channel, const void *block, u32 size);

} /* namespace zem */
