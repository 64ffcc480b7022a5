/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The platform's data about load: the feed of run time, the clusters of CPUs and each CPU's
 * activity counter. Any thread.
 */
#pragma once

#include <array>
#include <atomic>
#include <vector>

#include "cpus.h"
#include "platform/contract.h"

namespace sim {

class Kernel;

struct Cluster {
	u32 index;
	u64 ref_freq;
};

class LoadSources {
public:
	explicit LoadSources(Kernel &kernel);

	/* Sets the list that the module reads at start-up. */
	void set_clusters(const std::vector<Cluster> &clusters);

	/* Sets the values of a CPU's counter. */
	void set_activity(unsigned int cpu, u64 cycles, u64 time);
	/* Makes reads of the counter fail or succeed. */
	void set_readable(unsigned int cpu, bool readable);
	[[nodiscard]] int read_activity(int cpu, int which, u64 out[2]);

	/* Reports that the task ran on the caller's CPU. Has no effect without a listener. */
	void ran(task_struct &task, u32 cluster, u64 delta);

	/* For the module's calls. */
	using Feed = void (*)(task_struct *task, u32 cluster, u64 delta);
	void listen(Feed feed);
	void stop_listening();
	[[nodiscard]] bool has_listener() const { return feed_.load() != nullptr; }
	/* Removes the listener, as a platform does after the module's code is freed. */
	void clear() { feed_.store(nullptr); }

private:
	struct Activity {
		std::atomic<u64> cycles{0};
		std::atomic<u64> time{0};
		std::atomic<bool> readable{true};
	};

	Kernel &kernel_;
	std::vector<platform_cluster> clusters_;
	std::array<Activity, Cpus::kMost> activity_;
	std::atomic<Feed> feed_{nullptr};
};

} /* namespace sim */
