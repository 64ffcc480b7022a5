// SPDX-License-Identifier: GPL-2.0
/* The ring buffer's functions: use of the current CPU's part, and checks of the context. */
#include "ring_buffer.h"

#include <cerrno>

#include "kernel/api/ring_buffer.h"
#include "kernel.h"

namespace sim {

size_t RingBuffers::sub_buffers_for(unsigned long size) const
{
	constexpr size_t kSubBufferHeader = 16;
	const size_t bytes = kernel_.options.sub_buffer_size - kSubBufferHeader;
	return std::max<size_t>((size + bytes - 1) / bytes, 2);
}

trace_buffer *RingBuffers::allocate(unsigned long size)
{
	auto &buffer = buffers_.emplace_back(std::make_unique<trace_buffer>());
	buffer->sub_buffers = sub_buffers_for(size);
	buffer->cpus.resize(kernel_.cpus.ids());
	for (unsigned int cpu = 0; cpu < kernel_.cpus.ids(); cpu++)
		if (kernel_.cpus.online(cpu))
			add_cpu(cpu);
	return buffer.get();
}

/* A CPU keeps its part when it goes offline. */
void RingBuffers::add_cpu(unsigned int cpu)
{
	for (auto &buffer : buffers_)
		if (!buffer->cpus[cpu])
			buffer->cpus[cpu] = std::make_unique<CpuRing>(
				kernel_.options.sub_buffer_size, buffer->sub_buffers);
}

void RingBuffers::free(trace_buffer *buffer)
{
	for (const auto &cpu : buffer->cpus)
		if (cpu && cpu->has_open())
			kernel_.problems.add("ring_buffer_free with an event open");
	if (!buffers_.remove_if([&](const auto &other) { return other.get() == buffer; }))
		kernel_.problems.add("ring_buffer_free of what is no ring buffer");
}

RingStatistics RingBuffers::statistics()
{
	RingStatistics sum;
	for (const auto &cpu : only().cpus) {
		if (!cpu)
			continue;
		const RingStatistics one = cpu->statistics();
		sum.commits += one.commits;
		sum.discards += one.discards;
		sum.overruns += one.overruns;
		sum.refusals += one.refusals;
		sum.reads += one.reads;
		sum.entries += one.entries;
	}
	return sum;
}

} /* namespace sim */

using sim::Kernel;

namespace {

/* Returns null for a CPU without a part. */
sim::CpuRing *ring_of(struct trace_buffer *buffer, int cpu)
{
	const auto index = static_cast<size_t>(cpu);
	return index < buffer->cpus.size() ? buffer->cpus[index].get() : nullptr;
}

sim::CpuRing *ring_of_this_cpu(struct trace_buffer *buffer)
{
	return ring_of(buffer, static_cast<int>(sim::Scheduler::current().fields.cpu));
}

} /* namespace */

struct trace_buffer *helper_ring_buffer_alloc_overwrite(unsigned long size)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("ring_buffer_alloc");
	return kernel.faults.strikes("ring_buffer_alloc") ? nullptr :
							    kernel.ring_buffers.allocate(size);
}

void ring_buffer_free(struct trace_buffer *buffer)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("ring_buffer_free");
	kernel.faults.strikes("ring_buffer_free");
	kernel.ring_buffers.free(buffer);
}

struct ring_buffer_event *ring_buffer_lock_reserve(struct trace_buffer *buffer,
						   unsigned long length)
{
	Kernel &kernel = Kernel::get();
	if (kernel.faults.strikes("ring_buffer_lock_reserve"))
		return nullptr;
	task_struct &task = sim::Scheduler::current();
	sim::CpuRing *ring = ring_of_this_cpu(buffer);
	if (!ring)
		return nullptr;
	struct ring_buffer_event *event = ring->reserve(
		length, static_cast<unsigned int>(task.context), kernel.clock.ticks());
	if (event)
		task.preempt_count++;
	return event;
}

int ring_buffer_unlock_commit(struct trace_buffer *buffer)
{
	Kernel &kernel = Kernel::get();
	kernel.faults.strikes("ring_buffer_unlock_commit");
	if (!ring_of_this_cpu(buffer)->commit())
		kernel.problems.add("ring_buffer_unlock_commit without a reservation");
	else
		sim::Scheduler::current().preempt_count--;
	return 0;
}

void ring_buffer_discard_commit(struct trace_buffer *buffer, struct ring_buffer_event *event)
{
	Kernel &kernel = Kernel::get();
	if (!ring_of_this_cpu(buffer)->discard(event))
		kernel.problems.add("ring_buffer_discard_commit of what is not the open event");
	else
		sim::Scheduler::current().preempt_count--;
}

void *ring_buffer_event_data(struct ring_buffer_event *event)
{
	return event->data();
}

struct ring_buffer_event *ring_buffer_consume(struct trace_buffer *buffer, int cpu, u64 *ts,
					      unsigned long *lost_events)
{
	Kernel::get().faults.strikes("ring_buffer_consume");
	sim::CpuRing *ring = ring_of(buffer, cpu);
	struct ring_buffer_event *event = ring ? ring->consume() : nullptr;
	if (event && ts)
		*ts = event->time;
	if (lost_events)
		*lost_events = 0;
	return event;
}

unsigned long ring_buffer_entries_cpu(struct trace_buffer *buffer, int cpu)
{
	Kernel::get().faults.strikes("ring_buffer_entries_cpu");
	const sim::CpuRing *ring = ring_of(buffer, cpu);
	return ring ? static_cast<unsigned long>(ring->entries()) : 0;
}

unsigned long ring_buffer_overrun_cpu(struct trace_buffer *buffer, int cpu)
{
	sim::CpuRing *ring = ring_of(buffer, cpu);
	return ring ? ring->statistics().overruns : 0;
}

unsigned long ring_buffer_read_events_cpu(struct trace_buffer *buffer, int cpu)
{
	Kernel::get().faults.strikes("ring_buffer_read_events_cpu");
	sim::CpuRing *ring = ring_of(buffer, cpu);
	return ring ? ring->statistics().reads : 0;
}

unsigned long ring_buffer_size(struct trace_buffer *buffer, int cpu)
{
	const sim::CpuRing *ring = ring_of(buffer, cpu);
	return ring ? ring->size() : 0;
}

int helper_ring_buffer_resize_all(struct trace_buffer *buffer, unsigned long size)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("ring_buffer_resize");
	if (kernel.faults.strikes("ring_buffer_resize"))
		return -ENOMEM;
	/* Without a buffer, any size is accepted. */
	if (!buffer)
		return 0;
	buffer->sub_buffers = kernel.ring_buffers.sub_buffers_for(size);
	for (auto &ring : buffer->cpus)
		if (ring)
			ring->resize(buffer->sub_buffers);
	return 0;
}
