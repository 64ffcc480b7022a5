/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A place in the ring buffer that is being written: committed, or given back at the end of the
 * scope. While one is held preemption is off. Any context.
 */
#pragma once

#include "api/ring_buffer.h"

namespace zem {

class [[nodiscard]] Reservation {
public:
	/* Without a buffer, or when the buffer refuses, the reservation is empty. */
	Reservation(trace_buffer *buffer, unsigned long length)
		: buffer_(buffer),
		  event_(buffer ? ring_buffer_lock_reserve(buffer, length) : nullptr)
	{
	}

	~Reservation()
	{
		/* Leaving the event open would keep preemption off and lock the CPU's buffer. */
		if (event_) [[unlikely]]
			ring_buffer_discard_commit(buffer_, event_);
	}

	Reservation(const Reservation &) = delete;
	Reservation &operator=(const Reservation &) = delete;

	explicit operator bool() const { return event_; }

	/* Not for an empty reservation. Return: the bytes to fill, aligned to 4 bytes. */
	[[nodiscard]] u8 *data() const { return static_cast<u8 *>(ring_buffer_event_data(event_)); }

	/* Not for an empty reservation. */
	void commit()
	{
		ring_buffer_unlock_commit(buffer_);
		event_ = nullptr;
	}

private:
	trace_buffer *buffer_;
	ring_buffer_event *event_;
};

} /* namespace zem */
