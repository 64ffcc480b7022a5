/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The trace ring buffer in overwrite mode. Each CPU has a list of sub-buffers, of which only the
 * fill levels are kept. Every event has separate memory, four bytes off an eight-byte boundary, so
 * that AddressSanitizer detects accesses beyond an event and to a freed one.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

struct ring_buffer_event {
	explicit ring_buffer_event(size_t length);

	[[nodiscard]] std::byte *data();

	const size_t length;
	size_t cost = 0; /* bytes of the sub-buffer */
	uint64_t time = 0;
	enum class State { kOpen, kCommitted, kDiscarded } state = State::kOpen;

private:
	std::unique_ptr<std::byte[]> memory_;
};

namespace sim {

using Event = ring_buffer_event;

/* Totals of one CPU, or of all. */
struct RingStatistics {
	unsigned long commits = 0;
	unsigned long discards = 0;
	unsigned long overruns = 0; /* committed, then overwritten */
	unsigned long refusals = 0;
	unsigned long reads = 0;
	long entries = 0;
};

/* One CPU's part of the buffer. */
class CpuRing {
public:
	CpuRing(size_t sub_buffer_size, size_t sub_buffers);

	[[nodiscard]] Event *reserve(unsigned long length, unsigned int context, uint64_t time);
	/* Return: false if no event is reserved. */
	[[nodiscard]] bool commit();
	[[nodiscard]] bool discard(Event *event);
	[[nodiscard]] Event *consume();
	void resize(size_t sub_buffers);

	[[nodiscard]] long entries() const { return entries_.load(std::memory_order_relaxed); }
	[[nodiscard]] unsigned long size() const;
	[[nodiscard]] bool has_open();
	[[nodiscard]] RingStatistics statistics();

private:
	struct SubBuffer {
		size_t used = 0;
		std::deque<std::unique_ptr<Event>> events;
	};

	[[nodiscard]] bool enter(unsigned int context);
	void leave();
	[[nodiscard]] Event *place(unsigned long length, uint64_t time);
	[[nodiscard]] bool drop_oldest();

	const size_t sub_buffer_size_;

	/* Held from reserve to commit: preemption is off, so only an interrupt may nest. */
	std::recursive_mutex this_cpu_;
	std::vector<Event *> open_; /* innermost last */
	unsigned int entered_ = 0; /* a bit for each context with an open event */

	std::mutex lock_; /* held briefly: orders this CPU and the reader of the members below */
	size_t sub_buffers_;
	std::deque<SubBuffer> ring_;
	bool reader_has_front_ = false;
	std::unique_ptr<Event> consumed_;
	RingStatistics statistics_;
	std::atomic<long> entries_{0};
};

} /* namespace sim */

struct trace_buffer {
	std::vector<std::unique_ptr<sim::CpuRing>> cpus; /* null: not online so far */
	size_t sub_buffers;
};

namespace sim {

class Kernel;

class RingBuffers {
public:
	explicit RingBuffers(Kernel &kernel) : kernel_(kernel) {}

	[[nodiscard]] trace_buffer *allocate(unsigned long size);
	void free(trace_buffer *buffer);
	void add_cpu(unsigned int cpu);

	[[nodiscard]] size_t count() const { return buffers_.size(); }
	/* Statistics of the only ring buffer, for all CPUs together. */
	[[nodiscard]] RingStatistics statistics();
	[[nodiscard]] trace_buffer &only() { return *buffers_.front(); }

	[[nodiscard]] size_t sub_buffers_for(unsigned long size) const;

private:
	Kernel &kernel_;
	std::list<std::unique_ptr<trace_buffer>> buffers_;
};

} /* namespace sim */
