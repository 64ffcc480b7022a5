/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the platform tells about load: the feed of run time, the clusters of CPUs and each CPU's
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

	/* The list that the module takes at its start. */
	void set_clusters(const std::vector<Cluster> &clusters);

	/* What a CPU's counter is read as from now on. */
	void set_activity(unsigned int cpu, u64 cycles, u64 time);
	/* The counter can't be read any more, or again. */
	void set_readable(unsigned int cpu, bool readable);
	[[nodiscard]] int read_activity(int cpu, int which, u64 out[2]);

	/* The task has run, on the caller's CPU; nothing happens while nobody listens. */
	void ran(task_struct &task, u32 cluster, u64 delta);

	/* The module's side. */
	using Feed = void (*)(task_struct *task, u32 cluster, u64 delta);
	void listen(Feed feed);
	void stop_listening();
	[[nodiscard]] bool has_listener() const { return feed_.load() != nullptr; }
	/* What a platform does after the code of a module is gone. */
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
