// SPDX-License-Identifier: GPL-2.0
/*
 * A ring buffer for each CPU, in memory that only the CPU writes. It stands for the kernel's, which
 * does more: it reads a clock for each event and supports interrupts between a reservation and its
 * commit. The oldest events are overwritten.
 */
#include <cstdlib>

#include "host/cpu.h"
#include "host/host.h"
#include "kernel/api/preempt.h"
#include "kernel/api/ring_buffer.h"

struct ring_buffer_event {
	u32 length;
	u8 data[];
};

namespace {

constexpr size_t kSubBuffer = 4096;
constexpr size_t kHeader = sizeof(ring_buffer_event);

struct alignas(128) CpuRing {
	u8 *bytes;
	size_t next;
	ring_buffer_event *open;
	const ring_buffer_event *last;
	u64 committed;
};

} /* namespace */

struct trace_buffer {
	size_t size; /* for each CPU */
	CpuRing rings[host::kCpus];
};

namespace host {

u64 committed(const trace_buffer *ring, unsigned int cpu)
{
	return ring->rings[cpu].committed;
}

std::span<const u8> last_record(const trace_buffer *ring, unsigned int cpu)
{
	const ring_buffer_event *last = ring->rings[cpu].last;
	return last ? std::span(last->data, last->length) : std::span<const u8>();
}

} /* namespace host */

struct trace_buffer *helper_ring_buffer_alloc_overwrite(unsigned long size)
{
	auto *buffer = new trace_buffer{};
	buffer->size = (size + kSubBuffer - 1) / kSubBuffer * kSubBuffer;
	for (CpuRing &ring : buffer->rings) {
		ring.bytes = static_cast<u8 *>(std::aligned_alloc(kSubBuffer, buffer->size));
		if (!ring.bytes)
			std::abort();
	}
	return buffer;
}

struct ring_buffer_event *ring_buffer_lock_reserve(struct trace_buffer *buffer,
						   unsigned long length)
{
	const size_t need = (kHeader + length + 3) & ~size_t{3};
	if (need > kSubBuffer)
		return nullptr;
	helper_preempt_disable();
	CpuRing &ring = buffer->rings[host::this_cpu.id];
	/* An event does not cross sub-buffers. */
	if (ring.next % kSubBuffer + need > kSubBuffer)
		ring.next = (ring.next / kSubBuffer + 1) * kSubBuffer;
	if (ring.next >= buffer->size)
		ring.next = 0;
	ring.open = reinterpret_cast<ring_buffer_event *>(ring.bytes + ring.next);
	ring.open->length = static_cast<u32>(length);
	ring.next += need;
	return ring.open;
}

int ring_buffer_unlock_commit(struct trace_buffer *buffer)
{
	CpuRing &ring = buffer->rings[host::this_cpu.id];
	ring.last = ring.open;
	ring.committed++;
	helper_preempt_enable();
	return 0;
}

void ring_buffer_discard_commit(struct trace_buffer *, struct ring_buffer_event *)
{
	helper_preempt_enable();
}

void *ring_buffer_event_data(struct ring_buffer_event *event)
{
	return event->data;
}
