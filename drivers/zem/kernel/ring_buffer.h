/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A reservation in the ring buffer. Unless it is committed, it is discarded at the end of the
 * scope. Preemption is off while it exists. Context: any.
 */
#pragma once

#include "api/ring_buffer.h"

namespace zem {

class [[nodiscard]] Reservation {
public:
	/* The reservation is empty if there is no buffer, or if the buffer refuses. */
	Reservation(trace_buffer *buffer, unsigned long length)
		: buffer_(buffer),
		  event_(buffer ? ring_buffer_lock_reserve(buffer, length) : nullptr)
	{
	}

	~Reservation()
	{
		/* An open event would keep preemption off and block the CPU's buffer. */
		if (event_) [[unlikely]]
			ring_buffer_discard_commit(buffer_, event_);
	}

	Reservation(const Reservation &) = delete;
	Reservation &operator=(const Reservation &) = delete;

	explicit operator bool() const { return event_; }

	/* Return: the bytes to fill, aligned to 4 bytes. The reservation must not be empty. */
	[[nodiscard]] u8 *data() const { return static_cast<u8 *>(ring_buffer_event_data(event_)); }

	/* The reservation must not be empty. */
	void commit()
	{
		helper_ring_buffer_unlock_commit(buffer_, event_);
		event_ = nullptr;
	}

private:
	trace_buffer *buffer_;
	ring_buffer_event *event_;
};

} /* namespace zem */
