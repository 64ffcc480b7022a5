// SPDX-License-Identifier: GPL-2.0
/* One CPU's part of the ring buffer: sub-buffers, nesting, overwriting and reading. */
#include <algorithm>
#include <cstring>

#include "ring_buffer.h"

namespace {

constexpr size_t kEventHeader = 4;
/* Bytes of a sub-buffer's header. */
constexpr size_t kSubBufferHeader = 16;
/* Offset of events from the alignment of malloc. */
constexpr size_t kMisalignment = 4;

/* The kernel's size of an event. The length of a longer event takes an additional word. */
size_t cost_of(size_t length)
{
	constexpr size_t kLongestInHeader = 112;
	const size_t extra = length > kLongestInHeader ? 4 : 0;
	return (length + extra + kEventHeader + 3) & ~size_t{3};
}

} /* namespace */

ring_buffer_event::ring_buffer_event(size_t length_)
	: length(length_), memory_(new std::byte[kMisalignment + length_])
{
	/* Simulates the data of an earlier lap. */
	memset(memory_.get(), 0xa5, kMisalignment + length_);
}

std::byte *ring_buffer_event::data()
{
	return memory_.get() + kMisalignment;
}

namespace sim {

CpuRing::CpuRing(size_t sub_buffer_size, size_t sub_buffers)
	: sub_buffer_size_(sub_buffer_size), sub_buffers_(sub_buffers), ring_(1)
{
}

/* One event in each context, and one more for an interrupt that is not marked as one yet. */
bool CpuRing::enter(unsigned int context)
{
	constexpr unsigned int kTransition = 1;
	unsigned int bit = 1U << context;
	if (entered_ & bit)
		bit = kTransition;
	if (entered_ & bit)
		return false;
	entered_ |= bit;
	return true;
}

/* Contexts end in reverse order, lowest bit first. */
void CpuRing::leave()
{
	entered_ &= entered_ - 1;
}

/* Return: false if an event of the oldest sub-buffer is still being written. */
bool CpuRing::drop_oldest()
{
	const auto oldest = ring_.begin() + reader_has_front_;
	for (const auto &event : oldest->events)
		if (event->state == Event::State::kOpen)
			return false;
	for (const auto &event : oldest->events) {
		if (event->state != Event::State::kCommitted)
			continue;
		statistics_.overruns++;
		entries_.fetch_sub(1, std::memory_order_relaxed);
	}
	ring_.erase(oldest);
	return true;
}

Event *CpuRing::place(unsigned long length, uint64_t time)
{
	const size_t cost = cost_of(length);
	if (ring_.back().used + cost > sub_buffer_size_ - kSubBufferHeader) {
		const size_t in_ring = ring_.size() - reader_has_front_;
		if (in_ring >= sub_buffers_ && !drop_oldest())
			return nullptr;
		ring_.emplace_back();
	}
	SubBuffer &tail = ring_.back();
	auto &event = tail.events.emplace_back(std::make_unique<Event>(length));
	event->cost = cost;
	event->time = time;
	tail.used += cost;
	return event.get();
}

Event *CpuRing::reserve(unsigned long length, unsigned int context, uint64_t time)
{
	constexpr size_t kLargestHeader = 8;
	this_cpu_.lock();
	const bool fits = length <= sub_buffer_size_ - kSubBufferHeader - kLargestHeader;
	Event *event = nullptr;
	if (fits && enter(context)) {
		std::lock_guard guard(lock_);
		event = place(std::max(length, 1UL), time);
		if (!event)
			leave();
	}
	if (!event) {
		{
			std::lock_guard guard(lock_);
			statistics_.refusals++;
		}
		this_cpu_.unlock();
		return nullptr;
	}
	open_.push_back(event);
	return event;
}

bool CpuRing::commit()
{
	if (open_.empty())
		return false;
	{
		std::lock_guard guard(lock_);
		open_.back()->state = Event::State::kCommitted;
		statistics_.commits++;
		entries_.fetch_add(1, std::memory_order_relaxed);
	}
	open_.pop_back();
	leave();
	this_cpu_.unlock();
	return true;
}

bool CpuRing::discard(Event *event)
{
	if (open_.empty() || open_.back() != event)
		return false;
	open_.pop_back();
	{
		std::lock_guard guard(lock_);
		event->state = Event::State::kDiscarded;
		statistics_.discards++;
		/* The last event of the ring is freed. An event with a successor becomes a gap. */
		SubBuffer &tail = ring_.back();
		if (!tail.events.empty() && tail.events.back().get() == event) {
			tail.used -= event->cost;
			tail.events.pop_back();
		}
	}
	leave();
	this_cpu_.unlock();
	return true;
}

Event *CpuRing::consume()
{
	std::lock_guard guard(lock_);
	consumed_.reset();
	for (;;) {
		auto &events = ring_.front().events;
		while (!events.empty() && events.front()->state == Event::State::kDiscarded)
			events.pop_front();
		if (!events.empty()) {
			/* Events nested in an open event wait for it. */
			if (events.front()->state == Event::State::kOpen)
				return nullptr;
			consumed_ = std::move(events.front());
			events.pop_front();
			reader_has_front_ = true;
			statistics_.reads++;
			entries_.fetch_sub(1, std::memory_order_relaxed);
			return consumed_.get();
		}
		if (ring_.size() == 1)
			return nullptr;
		ring_.pop_front();
		reader_has_front_ = false;
	}
}

void CpuRing::resize(size_t sub_buffers)
{
	std::lock_guard guard(lock_);
	sub_buffers_ = sub_buffers;
	while (ring_.size() - reader_has_front_ > sub_buffers_ && drop_oldest())
		;
}

unsigned long CpuRing::size() const
{
	return sub_buffers_ * (sub_buffer_size_ - kSubBufferHeader);
}

bool CpuRing::has_open()
{
	return !open_.empty();
}

RingStatistics CpuRing::statistics()
{
	std::lock_guard guard(lock_);
	RingStatistics statistics = statistics_;
	statistics.entries = entries();
	return statistics;
}

} /* namespace sim */
