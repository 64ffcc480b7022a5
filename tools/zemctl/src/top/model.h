/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the screen of zemctl top shows: the latest values of the records of a stream or a capture,
 * and the losses. It has no clock, does no input or output, and its size is bounded.
 */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <linux/zem.h>

#include "records/marks.h"
#include "records/record.h"
#include "top/passes.h"
#include "top/processes.h"
#include "top/rate.h"

namespace zemctl {

struct TopLosses {
	std::uint64_t kernel = 0; /* records that the module lost */
	std::uint64_t dropped = 0; /* records that zemctl dropped */
	std::uint64_t gaps = 0; /* places with an unknown number of missing records */
	std::uint64_t bytes = 0; /* that are known to be missing at these places */

	bool are_none() const { return kernel == 0 && dropped == 0 && gaps == 0; }
};

struct TopCpu {
	std::uint32_t cpu;
	std::uint64_t usage; /* capacity units */
};

struct TopCluster {
	std::optional<std::uint32_t> number; /* none: CPUs whose cluster is not known */
	std::vector<TopCpu> cpus;
};

struct TopHistogram {
	std::array<std::uint32_t, ZEM_SCHED_BUCKETS> counts = {};
	std::uint64_t time = 0; /* ns */
};

struct TopDisk {
	/* Since the previous record. */
	std::uint64_t read = 0; /* bytes */
	std::uint64_t written = 0;
	std::uint64_t busy = 0; /* ns */
};

struct TopUser {
	std::uint32_t uid;
	std::string package;
	std::uint64_t bytes = 0;
	std::uint64_t iowait = 0; /* ns */
};

struct TopGroup {
	std::string name;
	std::uint64_t run_delay; /* ns, as the following; a difference may have wrapped */
	std::uint64_t d_io;
	std::uint64_t d_other;
};

/* What the screen shows at one time. The optional parts are missing before their first record. */
struct TopView {
	std::uint64_t time = 0; /* ns since the epoch */
	std::uint64_t records = 0;
	RecordRate::PerSecond rate;
	std::array<std::uint64_t, RecordRate::kSeconds> history = {};
	TopLosses losses;
	std::vector<TopCluster> clusters; /* with at least one CPU */
	std::optional<PassTimes> sched_times;
	TopHistogram run_delay;
	TopHistogram irq;
	std::optional<PassTimes> process_times;
	std::vector<TopProcess> processes;
	std::optional<PassTimes> io_times;
	std::optional<std::array<TopDisk, ZEM_IO_DEVICES>> disks; /* needs two records */
	std::vector<TopUser> users;
	std::optional<PassTimes> group_times;
	std::vector<TopGroup> groups;
};

/* What the latest sched record has. */
struct TopSched {
	TopHistogram run_delay;
	TopHistogram irq;
};

/* What the latest kio record has. */
struct TopIo {
	std::array<zem_io_disk, ZEM_IO_DEVICES> totals = {};
	std::optional<std::array<TopDisk, ZEM_IO_DEVICES>> disks;
	std::vector<TopUser> users;
};

class TopModel {
public:
	void add(const Record &record);
	/* Takes the CPUs and the packages. */
	void add(const Mark &mark);
	void describe_cpus(const std::vector<CpuDescription> &cpus);
	void add_package(std::uint32_t uid, std::string_view package);
	void add_losses(const TopLosses &losses);

	TopView view(std::uint64_t now, StreamState state = StreamState::kContinues) const;

private:
	static constexpr std::size_t kPackagesMax = 16384;

	void add(const zem_kio &kio, std::uint64_t time);
	void add(const zem_cgroup &cgroup, std::uint64_t time);
	void add(const zem_sched &sched, std::uint64_t time);
	std::string package_of(std::uint32_t uid) const;
	std::vector<TopCluster> clusters() const;

	std::uint64_t records_ = 0;
	RecordRate rate_;
	TopLosses losses_;
	std::array<std::optional<std::uint64_t>, ZEM_LOAD_CPUS> cpus_ = {};
	std::array<std::optional<std::uint32_t>, ZEM_LOAD_CPUS> cluster_of_ = {};
	std::map<std::uint32_t, std::string> packages_;
	TopProcesses processes_;
	Latest<TopSched> sched_;
	Latest<TopIo> io_;
	Latest<std::vector<TopGroup>> groups_;
};

} // namespace zemctl
