// SPDX-License-Identifier: GPL-2.0
/* The load feed, the list of clusters and the activity counters. */
#include "load_sources.h"

#include <cerrno>

#include "kernel.h"

struct list_head cluster_head;

namespace sim {

LoadSources::LoadSources(Kernel &kernel) : kernel_(kernel)
{
	set_clusters({{0, 1'800'000}, {1, 2'400'000}});
}

void LoadSources::set_clusters(const std::vector<Cluster> &clusters)
{
	clusters_.clear();
	for (const Cluster &cluster : clusters)
		clusters_.push_back({{}, cluster.index, cluster.ref_freq});
	list_head *last = &cluster_head;
	for (platform_cluster &cluster : clusters_) {
		last->next = &cluster.list;
		cluster.list.prev = last;
		last = &cluster.list;
	}
	last->next = &cluster_head;
	cluster_head.prev = last;
}

void LoadSources::set_activity(unsigned int cpu, u64 cycles, u64 time)
{
	Activity &activity = activity_.at(cpu);
	activity.cycles.store(cycles, std::memory_order_relaxed);
	activity.time.store(time, std::memory_order_relaxed);
}

void LoadSources::set_readable(unsigned int cpu, bool readable)
{
	activity_.at(cpu).readable.store(readable, std::memory_order_relaxed);
}

int LoadSources::read_activity(int cpu, int which, u64 out[2])
{
	if (Scheduler::interrupts_off(Scheduler::current()))
		kernel_.problems.add("morva_amu_read with interrupts off");
	if (which != 0)
		kernel_.problems.add("morva_amu_read of something else than activity");
	const Activity &activity = activity_.at(static_cast<unsigned int>(cpu));
	if (!activity.readable.load(std::memory_order_relaxed))
		return -EINVAL;
	out[0] = activity.cycles.load(std::memory_order_relaxed);
	out[1] = activity.time.load(std::memory_order_relaxed);
	return 0;
}

void LoadSources::ran(task_struct &task, u32 cluster, u64 delta)
{
	kernel_.rcu.read_lock();
	kernel_.under_run_queue_lock([&] {
		if (const Feed feed = feed_.load(std::memory_order_acquire))
			feed(&task, cluster, delta);
	});
	kernel_.rcu.read_unlock();
}

void LoadSources::listen(Feed feed)
{
	if (feed_.exchange(feed, std::memory_order_release))
		kernel_.problems.add("a second listener to the load feed");
}

void LoadSources::stop_listening()
{
	if (!feed_.exchange(nullptr))
		kernel_.problems.add("nobody listens to the load feed");
	kernel_.rcu.synchronize();
}

} /* namespace sim */

using sim::Kernel;

void register_load_stat_proc_runtime(void (*fn)(struct task_struct *task, u32 cluster, u64 delta))
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("register_load_stat_proc_runtime");
	kernel.faults.strikes("register_load_stat_proc_runtime");
	kernel.load.listen(fn);
}

void unregister_load_stat_proc_runtime(void)
{
	Kernel &kernel = Kernel::get();
	kernel.might_sleep("unregister_load_stat_proc_runtime");
	kernel.faults.strikes("unregister_load_stat_proc_runtime");
	kernel.load.stop_listening();
}

int morva_amu_read(int cpu, int which, u64 out[2])
{
	Kernel &kernel = Kernel::get();
	kernel.faults.strikes("morva_amu_read");
	return kernel.load.read_activity(cpu, which, out);
}
