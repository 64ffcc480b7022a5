/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The flat buffer that user space maps. The consumer appends whole records; a read of a channel's
 * file empties it. Context: process; may sleep.
 */
#pragma once

#include "kernel/api/types.h"
#include "kernel/completion.h"
#include "uapi/linux/zem.h"

namespace zem {

/* Signalled by each hand-back. The consumer re-arms it before it notifies. */
extern Completion tmp_data_done;

struct SharedBuffer {
	u8 *zem_buffer_sum; /* null while it is not allocated */
	u32 current_data_len; /* bytes in use */
};

/* Call before any other function of this file. */
void shared_buffer_init();

/* Return: 0 or -ENOMEM. */
[[nodiscard]] int shared_buffer_alloc();
/* Nothing may append or map any more. Later hand-backs find the buffer empty. */
void shared_buffer_free();

enum class Append {
	kDone,
	kAboveNotifyLevel,
	kNoRoom,
};

/* Appends one record of @size bytes. Without room, the buffer is not changed. */
[[nodiscard]] Append shared_buffer_append(const void *record, u32 size);

/*
 * Empties and zeroes the buffer, and signals tmp_data_done.
 * Return: the number of bytes that were in it.
 */
u32 shared_buffer_hand_back();

/* Return: the page frame number of the buffer. */
unsigned long shared_buffer_pfn();

} /* namespace zem */
