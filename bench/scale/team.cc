// SPDX-License-Identifier: GPL-2.0
/* Windows of concurrent calls, and the check of what they have counted. */
#include "team.h"

#include <sched.h>
#include <sys/resource.h>

#include <algorithm>

#include "host/cpu.h"
#include "host/spin.h"
#include "kernel/api/time.h"

namespace scale {

namespace {

/* Calls between two looks at the clock. */
constexpr unsigned int kBatch = 128;

/* All threads must run during the window, except for this fraction of it. */
constexpr s64 kApartFraction = 20;

constexpr unsigned int kFirstUid = 10001;
constexpr int kFirstPid = 1000;

/* How often the calling thread has been switched out. */
long switches()
{
	rusage usage{};
	getrusage(RUSAGE_THREAD, &usage);
	return usage.ru_nvcsw + usage.ru_nivcsw;
}

void call_for(Worker &worker, const Row &row, std::chrono::nanoseconds length)
{
	const long before = switches();
	worker.window_calls = 0;
	worker.begin = worker.end = ktime_get();
	while (worker.end - worker.begin < length.count()) {
		row.call(worker, kBatch);
		worker.window_calls += kBatch;
		worker.end = ktime_get();
	}
	worker.calls += worker.window_calls;
	worker.was_disturbed = switches() != before;
}

void fill(Worker &worker)
{
	worker.task.pid = kFirstPid + static_cast<int>(worker.index);
	worker.task.group_leader = &worker.task;
	worker.cred.uid = kFirstUid;
	worker.task.cred = &worker.cred;
	worker.task.record = &worker.record;
	worker.record.task = &worker.task;
	worker.record.svp_marker = 1;
	worker.record.node.next = TASK_EXT_UNLISTED;
	worker.record.svp_stats = &worker.stats;
	worker.record.load_block = worker.load_block;
}

std::string difference(const Count &count, u64 grown, u64 expected)
{
	return count.what + ": " + std::to_string(grown) + " counted, " + std::to_string(expected) +
	       " done";
}

} /* namespace */

void Barrier::wait()
{
	constexpr int kPatience = 1000;
	const unsigned int phase = phase_.load(std::memory_order_acquire);
	if (arrived_.fetch_add(1, std::memory_order_acq_rel) + 1 == threads_) {
		arrived_.store(0, std::memory_order_relaxed);
		phase_.store(phase + 1, std::memory_order_release);
		return;
	}
	for (int rounds = 1; phase_.load(std::memory_order_acquire) == phase; rounds++) {
		cpu_relax();
		if (rounds % kPatience == 0)
			sched_yield();
	}
}

Team::Team(const Row &row, unsigned int threads) : row_(row), barrier_(threads)
{
	for (unsigned int index = 0; index < threads; index++) {
		workers_.push_back(std::make_unique<Worker>());
		workers_.back()->index = index;
		fill(*workers_.back());
	}
	if (row.prepare)
		for (const auto &worker : workers_)
			row.prepare(*worker);
	before_ = row.counts(workers_);
}

Round Team::measure(unsigned int index, const Effort &effort)
{
	Worker &self = worker(index);
	host::enter_cpu(index, &self.task);

	double sum = 0;
	bool was_disturbed = false;
	for (unsigned int caller = 0; caller < size(); caller++) {
		const Window window = measure_window(self, caller, effort);
		sum += window.rate();
		was_disturbed |= window.was_disturbed;
	}
	const Window together = measure_window(self, kAll, effort);
	return {
		.together = together,
		.scaling = together.rate() * size() / sum,
		.was_disturbed = was_disturbed || together.was_disturbed,
	};
}

Window Team::measure_window(Worker &self, unsigned int caller, const Effort &effort)
{
	for (int attempt = 1;; attempt++) {
		barrier_.wait();
		if (caller == kAll || caller == self.index)
			call_for(self, row_, effort.window);
		barrier_.wait();
		const Window window = combined(caller);
		if (!window.was_disturbed || attempt == effort.attempts)
			return window;
	}
}

Window Team::combined(unsigned int caller) const
{
	const Worker &first = *workers_[caller == kAll ? 0 : caller];
	Window window{.seconds = 0, .calls = 0, .was_disturbed = false};
	s64 first_begin = first.begin, last_begin = first.begin;
	s64 first_end = first.end, last_end = first.end;
	for (const auto &worker : workers_) {
		if (caller != kAll && caller != worker->index)
			continue;
		first_begin = std::min(first_begin, worker->begin);
		last_begin = std::max(last_begin, worker->begin);
		first_end = std::min(first_end, worker->end);
		last_end = std::max(last_end, worker->end);
		window.calls += worker->window_calls;
		window.was_disturbed |= worker->was_disturbed;
	}
	const s64 together = first_end - last_begin;
	const s64 length = last_end - first_begin;
	if (together < length - length / kApartFraction)
		window.was_disturbed = true;
	window.seconds = static_cast<double>(length) / 1e9;
	return window;
}

std::string Team::check() const
{
	const std::vector<Count> after = row_.counts(workers_);
	for (size_t i = 0; i < after.size(); i++) {
		const Count &count = after[i];
		u64 calls = 0;
		for (const auto &worker : workers_)
			if (count.worker == Count::kAll ||
			    static_cast<unsigned int>(count.worker) == worker->index)
				calls += worker->calls;
		const u64 expected = calls * count.for_each_call;
		const u64 grown = count.value - before_[i].value;
		if (count.may_be_more ? grown < expected : grown != expected)
			return difference(count, grown, expected);
	}
	return row_.examine ? row_.examine(workers_) : std::string();
}

} /* namespace scale */
