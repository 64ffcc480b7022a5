/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Threads on distinct CPUs that call the same function concurrently for a window of time, and the
 * comparison of their calls with what was counted.
 */
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/host.h"
#include "linux/zem.h"

namespace scale {

/* A thread, and the objects that its handlers get: a task with a user, a bio, a transfer. */
struct alignas(128) Worker {
	unsigned int index;
	u64 calls = 0; /* since the team was formed */
	u64 result = 0; /* for a row whose function returns one */

	::cred cred{};
	task_struct task{};
	::bio bio{};
	::kiocb kiocb{};
	task_ext record{};
	zem_svp_stats stats{};
	alignas(128) u64 load_block[PLATFORM_LOAD_WORDS]{};

	/* Of the last window in which the worker called. */
	s64 begin = 0; /* ns */
	s64 end = 0;
	u64 window_calls = 0;
	bool was_disturbed = false;
};

using Workers = std::span<const std::unique_ptr<Worker>>;

/* A number that grows with each call of a worker, or of all. */
struct Count {
	std::string what;
	u64 value;
	u64 for_each_call = 1;
	int worker = kAll;
	bool may_be_more = false;

	static constexpr int kAll = -1;
};

/* A function to measure. */
struct Row {
	const char *name = nullptr;
	void (*call)(Worker &worker, unsigned int times) = nullptr;
	/* Prepares a worker after its objects have been initialised; may be null. */
	void (*prepare)(Worker &worker) = nullptr;
	/* Returns counts that are the same ones at each call. */
	std::vector<Count> (*counts)(Workers workers) = nullptr;
	/* Looks for other errors after all calls. Return: the first one; may be null. */
	std::string (*examine)(Workers workers) = nullptr;
};

/* Concurrent calls for a while. */
struct Window {
	double seconds;
	u64 calls; /* of all workers that called */
	bool was_disturbed; /* a thread lost its CPU in the last attempt, too */

	[[nodiscard]] double rate() const { return static_cast<double>(calls) / seconds; }
};

/* A window of all workers, and the windows of each worker without the others just before it. */
struct Round {
	Window together;
	double scaling; /* throughput of all workers over the mean of one */
	bool was_disturbed; /* in any of the windows */
};

struct Effort {
	std::chrono::nanoseconds window;
	int attempts; /* to get an undisturbed window */
};

/* Lets threads wait for each other without sleeping. */
class Barrier {
public:
	explicit Barrier(unsigned int threads) : threads_(threads) {}

	void wait();

private:
	const unsigned int threads_;
	std::atomic<unsigned int> arrived_{0};
	std::atomic<unsigned int> phase_{0};
};

class Team {
public:
	Team(const Row &row, unsigned int threads);

	/*
	 * Measures one round. All threads call it, each with another index, and get the same
	 * result. Windows of one worker and of all are next to each other, because the speed of a
	 * shared machine changes.
	 */
	Round measure(unsigned int index, const Effort &effort);

	/*
	 * Compares the counts with the calls, when no thread measures any more.
	 * Return: the first difference, or an empty text.
	 */
	[[nodiscard]] std::string check() const;

	[[nodiscard]] Worker &worker(unsigned int index) { return *workers_[index]; }

	[[nodiscard]] unsigned int size() const
	{
		return static_cast<unsigned int>(workers_.size());
	}

private:
	static constexpr unsigned int kAll = ~0u;

	/*
	 * @caller: the only worker that calls, or kAll. A window in which a caller has lost its CPU
	 * is repeated, because the others have had the shared lines for themselves meanwhile. The
	 * calls of all attempts count.
	 */
	Window measure_window(Worker &self, unsigned int caller, const Effort &effort);
	[[nodiscard]] Window combined(unsigned int caller) const;

	const Row &row_;
	std::vector<std::unique_ptr<Worker>> workers_;
	std::vector<Count> before_;
	Barrier barrier_;
};

} /* namespace scale */
