// SPDX-License-Identifier: GPL-2.0
/* The ring buffer, with the size that the hub gives it at load. */
#include "kernel/api/ring_buffer.h"

#include "cases.h"
#include "parity.h"

namespace parity {

namespace {

constexpr int kCpu = 0;

/* A buffer that the case frees with itself. */
class Buffer {
public:
	Buffer() : buffer_(helper_ring_buffer_alloc_overwrite(8192)) {}
	Buffer(const Buffer &) = delete;
	Buffer &operator=(const Buffer &) = delete;
	~Buffer() { ring_buffer_free(buffer_); }

	trace_buffer *get() { return buffer_; }

	/* Commits an event that begins with the number. Return: whether it was accepted. */
	bool push(u32 number, unsigned long length)
	{
		ring_buffer_event *event = ring_buffer_lock_reserve(buffer_, length);
		if (!event)
			return false;
		__builtin_memcpy(ring_buffer_event_data(event), &number, sizeof(number));
		helper_ring_buffer_unlock_commit(buffer_, event);
		return true;
	}

	/* Return: the number of the oldest event, which is consumed; -1 without one. */
	s64 take()
	{
		ring_buffer_event *event = ring_buffer_consume(buffer_, kCpu, nullptr, nullptr);
		if (!event)
			return -1;
		u32 number;
		__builtin_memcpy(&number, ring_buffer_event_data(event), sizeof(number));
		return number;
	}

private:
	trace_buffer *buffer_;
};

} /* namespace */

void ring_buffer_rounds_its_size_to_pages()
{
	constexpr unsigned long kPageData = 4080;
	Buffer buffer;
	EXPECT_SAME(ring_buffer_size(buffer.get(), kCpu), 3 * kPageData);
	EXPECT_SAME(helper_ring_buffer_resize_all(buffer.get(), 5 * kPageData), 0);
	EXPECT_SAME(ring_buffer_size(buffer.get(), kCpu), 5 * kPageData);
	EXPECT_SAME(helper_ring_buffer_resize_all(buffer.get(), 5 * kPageData + 1), 0);
	EXPECT_SAME(ring_buffer_size(buffer.get(), kCpu), 6 * kPageData);
	EXPECT_SAME(helper_ring_buffer_resize_all(buffer.get(), 1), 0);
	EXPECT_SAME(ring_buffer_size(buffer.get(), kCpu), 2 * kPageData);
}

void ring_buffer_without_a_buffer_is_resized_in_name()
{
	EXPECT_SAME(helper_ring_buffer_resize_all(nullptr, 8192), 0);
}

void ring_buffer_events_are_aligned_to_4_bytes()
{
	Buffer buffer;
	for (unsigned long length = 1; length < 64; length++) {
		ring_buffer_event *event = ring_buffer_lock_reserve(buffer.get(), length);
		EXPECT_SAME(event != nullptr, true);
		if (!event)
			return;
		const auto address = reinterpret_cast<unsigned long>(ring_buffer_event_data(event));
		helper_ring_buffer_unlock_commit(buffer.get(), event);
		EXPECT_SAME(address % 4, 0);
	}
}

void ring_buffer_is_read_in_the_order_of_the_reservations()
{
	Buffer buffer;
	EXPECT_SAME(buffer.take(), -1);
	for (u32 number = 1; number <= 3; number++)
		EXPECT_SAME(buffer.push(number, 100), true);
	EXPECT_SAME(ring_buffer_entries_cpu(buffer.get(), kCpu), 3);
	for (u32 number = 1; number <= 3; number++)
		EXPECT_SAME(buffer.take(), number);
	EXPECT_SAME(buffer.take(), -1);
	EXPECT_SAME(ring_buffer_entries_cpu(buffer.get(), kCpu), 0);
	EXPECT_SAME(ring_buffer_read_events_cpu(buffer.get(), kCpu), 3);
	EXPECT_SAME(ring_buffer_overrun_cpu(buffer.get(), kCpu), 0);
}

/* The ring has three pages of 39 such events. A page is lost as a whole. */
void ring_buffer_overwrites_the_oldest_page()
{
	constexpr u32 kEvents = 300;
	constexpr u32 kOnPage = 39;
	constexpr u32 kKept = kEvents % kOnPage + 2 * kOnPage;
	Buffer buffer;
	for (u32 number = 0; number < kEvents; number++)
		EXPECT_SAME(buffer.push(number, 100), true);
	EXPECT_SAME(ring_buffer_entries_cpu(buffer.get(), kCpu), kKept);
	EXPECT_SAME(ring_buffer_overrun_cpu(buffer.get(), kCpu), kEvents - kKept);
	for (u32 number = kEvents - kKept; number < kEvents; number++)
		EXPECT_SAME(buffer.take(), number);
	EXPECT_SAME(buffer.take(), -1);
}

void ring_buffer_takes_a_discarded_event_back()
{
	Buffer buffer;
	EXPECT_SAME(buffer.push(1, 4), true);
	for (int i = 0; i < 1000; i++) {
		ring_buffer_event *event = ring_buffer_lock_reserve(buffer.get(), 1000);
		EXPECT_SAME(event != nullptr, true);
		if (event)
			ring_buffer_discard_commit(buffer.get(), event);
	}
	EXPECT_SAME(ring_buffer_overrun_cpu(buffer.get(), kCpu), 0);
	EXPECT_SAME(ring_buffer_entries_cpu(buffer.get(), kCpu), 1);
	EXPECT_SAME(buffer.take(), 1);
	EXPECT_SAME(buffer.take(), -1);
}

void ring_buffer_refuses_what_a_page_cannot_hold()
{
	Buffer buffer;
	EXPECT_SAME(buffer.push(1, 4073), false);
	EXPECT_SAME(buffer.push(1, ~0ul), false);
	EXPECT_SAME(buffer.take(), -1);
	EXPECT_SAME(buffer.push(2, 4072), true);
	EXPECT_SAME(buffer.take(), 2);
}

} /* namespace parity */
