// SPDX-License-Identifier: GPL-2.0
/* The list of rows, and those that show the machine. */
#include "rows.h"

#include "floor.h"
#include "host/cpu.h"
#include "kernel/atomic.h"
#include "kernel/percpu.h"

namespace scale {

namespace {

ZEM_PERCPU constinit zem::PerCpu<u64> private_counter;
alignas(128) u64 shared_counter;

void count_private(Worker &, unsigned int times)
{
	while (times--)
		zem::atomic_add(1, private_counter.mine());
}

void count_shared(Worker &, unsigned int times)
{
	while (times--)
		zem::atomic_add(1, shared_counter);
}

std::vector<Count> private_counts(Workers workers)
{
	std::vector<Count> counts;
	for (const auto &worker : workers)
		counts.push_back({
			.what = "counter of CPU " + std::to_string(worker->index),
			.value = private_counter.of(worker->index),
			.worker = static_cast<int>(worker->index),
		});
	return counts;
}

std::vector<Count> shared_counts(Workers)
{
	return {{.what = "counter", .value = shared_counter}};
}

const Pair rows[] = {
	{
		.zem = {.name = "machine/atomic_add",
			.call = count_private,
			.counts = private_counts},
		.floor = {.name = "machine/atomic_add",
			  .call = count_shared,
			  .counts = shared_counts},
	},
};

} /* namespace */

void load_module()
{
	host::create_percpu();
	floor_init();
	load_io();
	load_records();
	load_sched();
}

std::vector<Pair> all_rows()
{
	std::vector<Pair> all(std::begin(rows), std::end(rows));
	for (const auto part : {io_rows(), record_rows(), sched_rows()})
		all.insert(all.end(), part.begin(), part.end());
	return all;
}

} /* namespace scale */
