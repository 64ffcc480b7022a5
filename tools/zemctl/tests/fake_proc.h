/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Prints the module's text files below /proc with the kernel's formats, including their padding and
 * their irregularities.
 */
#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include <linux/zem.h>

namespace zemctl {

template <typename... Values>
std::string printed(const char *format, Values... values)
{
	std::array<char, 512> text;
	const int size = std::snprintf(text.data(), text.size(), format, values...);
	return std::string(text.data(), static_cast<std::size_t>(size));
}

using CpuCounts = std::vector<std::array<unsigned long long, ZEM_SCHED_BUCKETS>>;

inline std::string counts_view(const char *title, const std::array<int, 9> &labels,
			       const CpuCounts &cpus)
{
	std::string text = title;
	text += printed("%25d %15d %15d %15d %15d %15d %15d %15d %15d %15s\n\n", labels[0],
			labels[1], labels[2], labels[3], labels[4], labels[5], labels[6], labels[7],
			labels[8], "others");
	std::array<unsigned long long, ZEM_SCHED_BUCKETS> sums = {};
	for (std::size_t cpu = 0; cpu < cpus.size(); cpu++) {
		text += printed("%7s %d:", "cpu", static_cast<int>(cpu));
		for (std::size_t bucket = 0; bucket < sums.size(); bucket++) {
			text += printed("%15llu ", cpus[cpu][bucket]);
			sums[bucket] += cpus[cpu][bucket];
		}
		text += '\n';
	}
	text += printed("%10s", "cpu:");
	for (const auto sum : sums)
		text += printed("%15llu ", sum);
	return text + '\n';
}

/* @cpus are nanoseconds. @ending is "%15llu\n", or "%16llu\n\n" for interrupts. */
inline std::string time_view(const char *title, const std::vector<unsigned long long> &cpus,
			     const char *ending = "%15llu\n")
{
	std::string text = title;
	for (std::size_t cpu = 0; cpu < cpus.size(); cpu++)
		text += printed("%15s%d ", "cpu", static_cast<int>(cpu));
	text += printed("%16s", "cpu\n");
	unsigned long long sum = 0;
	for (const auto time : cpus) {
		text += printed("%16llu ", time / 1000000);
		sum += time;
	}
	return text + printed(ending, sum / 1000000);
}

inline std::string counts_line(const char *title, const __u32 *counts, std::size_t count)
{
	std::string text = title;
	for (std::size_t i = 0; i < count; i++)
		text += printed("%d, ", static_cast<int>(counts[i]));
	return text;
}

inline std::string latency_line(const char *label, const __u32 (&counts)[ZEM_LATENCY_BUCKETS])
{
	return printed("%s%-12d%-12d%-12d%-12d%-12d%-12d%-12d\n", label, counts[0], counts[1],
		       counts[2], counts[3], counts[4], counts[5], counts[6]);
}

/* A task in /proc/svp_metrics/svp_metrics. */
inline std::string svp_text(const zem_svp &task)
{
	const zem_svp_stats &stats = task.stats;
	std::string text = "---------------- svp common info ----------------\n";
	text += printed("tgid: %d\npid: %d\n", task.tgid, task.pid);
	text += printed("thread_name: %s\npackage_name: %s\n", task.thread_name, task.package_name);
	text += "---------------- svp sched information ----------------\n";
	text += printed("run_delay_total: %lld\n", stats.run_delay_total);
	text += counts_line("run_delay[]: ", stats.run_delay, 4);
	text += printed("\nruntime_total: %lld\n", stats.runtime_total);
	text += counts_line("runtime[]: ", stats.runtime, 4);
	text += printed("\nd_state_duration_total: %lld\n", stats.d_state_duration_total);
	text += counts_line("d_state_duration[]: ", stats.d_state_duration, 4) + "\n\n";
	text += "\n---------------- svp memory information ----------------\n"
		"page allocation failure order: ";
	for (int order = 0; order < ZEM_ALLOC_ORDERS; order++)
		text += printed("[%d]=%d, ", order, stats.alloc_fail_order[order]);
	text += "\n\n"
		"type            [0,1ms) [1,8)ms     [8,16)ms    [16,33)ms   [33,67)ms   "
		"[67,134)ms  [>=134ms)\n";
	text += latency_line("async_reclaim:  ", stats.async_reclaim);
	text += latency_line("async_compact:  ", stats.async_compact);
	text += latency_line("direct_reclaim: ", stats.direct_reclaim);
	text += latency_line("direct_compact: ", stats.direct_compact);
	text += latency_line("PG_locked:      ", stats.PG_locked) + "\n\n";
	text += "------------------ svp io information ------------------\n";
	text += printed("iowait_total: %lld iowait_total_cnt: %d\n", stats.iowait_total,
			stats.iowait_total_cnt);
	text += counts_line("iowait_duration[]: ", stats.iowait_duration, ZEM_LATENCY_BUCKETS);
	text += printed("iowait_coldstart: %lld iowait_coldstart_cnt %d\n", stats.iowait_coldstart,
			stats.iowait_coldstart_cnt);
	text += printed("ui_iowait_long_cnt: %d\n", stats.ui_iowait_long_cnt);
	text += printed("read_bytes:  %lld read_syscall_cnt:  %d\n", stats.read_bytes,
			stats.read_syscall_cnt);
	text += printed("write_bytes: %lld write_syscall_cnt: %d\n", stats.write_bytes,
			stats.write_syscall_cnt);
	text += printed("bio_read_size: %lld bio_read_time: %lld bio_read_cnt: %d\n",
			stats.bio_read_size, stats.bio_read_time, stats.bio_read_cnt);
	text += printed("bio_write_size: %lld bio_write_time: %lld bio_write_cnt: %d\n",
			stats.bio_write_size, stats.bio_write_time, stats.bio_write_cnt);
	return text + "\n\n";
}

/* A task in /proc/load_metrics/load_metrics. */
inline std::string load_line(unsigned int pid, int flag, const char *comm, int ppid,
			     const char *pkg, unsigned long long usage, unsigned long long combined)
{
	return printed("pid:%d %d comm:%s ppid:%d pkg:%s %llu(%llu%%) %llu(%llu%%)\n", pid, flag,
		       comm, ppid, pkg, usage, usage * 100 / ZEM_CAPACITY_FULL, combined,
		       combined * 100 / ZEM_CAPACITY_FULL);
}

/* The lines above the tasks. */
inline std::string load_header(unsigned long long end, unsigned long long window,
			       const std::vector<unsigned long long> &cpus)
{
	std::string text = printed("time: %llu %llu\n", end, window) + "cpu:";
	for (const auto usage : cpus)
		text += printed("%llu(%llu%%) ", usage, usage * 100 / ZEM_CAPACITY_FULL);
	return text + '\n';
}

using HealthSums = std::array<unsigned long long, 21>;

/* Seven lines in /proc/cgroup_metrics/cgroup_metrics. */
inline std::string health_interval(const HealthSums &sums)
{
	std::string text;
	std::size_t next = 0;
	for (const char *name : {"all", "root", "fg", "top", "bg", "sysbg", "svp"}) {
		text += printed("%s %llu %llu %llu\n", name, sums[next], sums[next + 1],
				sums[next + 2]);
		next += 3;
	}
	return text;
}

/* The block of one CPU, or of all, in /proc/morva_sched_healthinfo/sched_healthinfo. */
inline std::string health_block(const HealthSums &sums)
{
	static constexpr const char *kFormats[] = {
		"total_lat: %12llu  total_d_io: %12llu  total_d_nonio: %12llu \n",
		"root_lat:  %12llu  root_d_io:  %12llu  root_d_nonio:  %12llu \n",
		"fg_lat:    %12llu  fg_d_io:    %12llu  fg_d_nonio:    %12llu \n",
		"top_lat:   %12llu  top_d_io:   %12llu  top_d_nonio:   %12llu \n",
		"bg_lat:    %12llu  bg_d_io:    %12llu  bg_d_nonio:    %12llu \n",
		"sysbg_lat: %12llu  sysbg_d_io: %12llu  sysbg_d_nonio: %12llu \n",
		"svp_lat:   %12llu  svp_d_io:   %12llu  svp_d_nonio:   %12llu \n",
	};
	std::string text;
	std::size_t next = 0;
	for (const char *format : kFormats) {
		text += printed(format, sums[next], sums[next + 1], sums[next + 2]);
		next += 3;
	}
	return text + '\n';
}

inline std::string health_report(const std::vector<HealthSums> &cpus)
{
	std::string text;
	HealthSums all = {};
	for (std::size_t cpu = 0; cpu < cpus.size(); cpu++) {
		text += printed("\nCPU%d\n", static_cast<int>(cpu)) + health_block(cpus[cpu]);
		for (std::size_t i = 0; i < all.size(); i++)
			all[i] += cpus[cpu][i];
	}
	return text + "\n==================\nthe sum of sched health information are:\n" +
	       health_block(all);
}

} // namespace zemctl
