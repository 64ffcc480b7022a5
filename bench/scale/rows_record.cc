// SPDX-License-Identifier: GPL-2.0
/* The signal of a record, and a complete record through a setter. */
#include <algorithm>

#include "core/records.h"
#include "floor.h"
#include "host/cpu.h"
#include "host/host.h"
#include "kernel/api/ring_buffer.h"
#include "linux/zem.h"
#include "rows.h"

namespace scale {

namespace {

constexpr u32 kMostBytes = 456;
u8 payload[kMostBytes];

void call_ring(Worker &, unsigned int times)
{
	while (times--)
		zem::data_ready.ring();
}

void call_floor_ring(Worker &, unsigned int times)
{
	const auto call = opaque(floor_ring);
	while (times--)
		call();
}

template <int length>
void call_setter(Worker &, unsigned int times)
{
	const auto call = opaque(test_zem_set);
	while (times--)
		call(0, payload, length, 0);
}

template <int length>
void call_floor_setter(Worker &, unsigned int times)
{
	const auto call = opaque(floor_set);
	while (times--)
		call(payload, length);
}

/*
 * Answers all rings, as the consumer does, and one more that a wait without rings asks for. Return:
 * the number of rings since the module was loaded, without those.
 */
u64 rings()
{
	static u64 answered = 0;
	const unsigned long idle = host::waits_without_signal();
	for (;;) {
		zem::data_ready.wait();
		if (host::waits_without_signal() != idle)
			return answered;
		answered++;
	}
}

std::vector<Count> ring_counts(Workers)
{
	return {{.what = "rings", .value = rings()}};
}

std::vector<Count> floor_ring_counts(Workers)
{
	return {{.what = "signals", .value = floor_rung()}};
}

std::vector<Count> records(const trace_buffer *ring, Workers workers)
{
	std::vector<Count> counts;
	for (const auto &worker : workers) {
		const unsigned int cpu = worker->index;
		counts.push_back({
			.what = "records of CPU " + std::to_string(cpu),
			.value = host::committed(ring, cpu),
			.worker = static_cast<int>(cpu),
		});
	}
	return counts;
}

std::vector<Count> setter_counts(Workers workers)
{
	std::vector<Count> counts = records(zem::buffer.load(), workers);
	counts.push_back({.what = "rings", .value = rings()});
	return counts;
}

std::vector<Count> floor_setter_counts(Workers workers)
{
	std::vector<Count> counts = records(floor_ring_buffer(), workers);
	counts.push_back({.what = "signals", .value = floor_rung()});
	return counts;
}

bool is_record(std::span<const u8> bytes, int length)
{
	zem_record_header header;
	if (bytes.size() != sizeof(header) + static_cast<size_t>(length))
		return false;
	__builtin_memcpy(&header, bytes.data(), sizeof(header));
	return header.len == static_cast<u32>(length) && header.channel == ZEM_CHANNEL_TEST &&
	       header.timestamp != 0 &&
	       std::equal(bytes.begin() + sizeof(header), bytes.end(), payload);
}

/* Examines the last record of each CPU. */
std::string examine(const trace_buffer *ring, Workers workers, int length)
{
	for (const auto &worker : workers)
		if (!is_record(host::last_record(ring, worker->index), length))
			return "the last record of CPU " + std::to_string(worker->index) +
			       " is wrong";
	return {};
}

template <int length>
std::string examine_setter(Workers workers)
{
	return examine(zem::buffer.load(), workers, length);
}

template <int length>
std::string examine_floor_setter(Workers workers)
{
	return examine(floor_ring_buffer(), workers, length);
}

template <int length>
constexpr Pair setter_pair(const char *name)
{
	return {
		.zem = {.name = name,
			.call = call_setter<length>,
			.counts = setter_counts,
			.examine = examine_setter<length>},
		.floor = {.name = name,
			  .call = call_floor_setter<length>,
			  .counts = floor_setter_counts,
			  .examine = examine_floor_setter<length>},
	};
}

const Pair rows[] = {
	{
		.zem = {.name = "signal", .call = call_ring, .counts = ring_counts},
		.floor = {.name = "signal", .call = call_floor_ring, .counts = floor_ring_counts},
	},
	setter_pair<4>("setter/4"),
	setter_pair<kMostBytes>("setter/456"),
};

} /* namespace */

void load_records()
{
	for (u32 i = 0; i < kMostBytes; i++)
		payload[i] = static_cast<u8>(7 + 3 * i);
	zem::data_ready.init();
	host::signal_when_idle([] { zem::data_ready.ring(); });
	zem::buffer.publish(helper_ring_buffer_alloc_overwrite(zem::kRingBufferSize));
	zem::train_number.store(1);
}

std::span<const Pair> record_rows()
{
	return rows;
}

} /* namespace scale */
