/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What a report shows of a capture. Its size is bounded, except for the number of tasks, users and
 * losses: the report has only the largest and the first of these.
 */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <linux/zem.h>

#include "decode/histogram.h"
#include "decode/json_stream.h"
#include "export/sink.h"
#include "report/interval_table.h"

namespace zemctl {

struct ReportTask {
	std::int32_t tgid;
	std::int32_t pid;
	std::string comm;
	std::string package;
};

/* Gives numbers to tasks, from 0. */
class ReportTasks {
public:
	std::uint32_t number_of(std::int32_t tgid, std::int32_t pid, std::string_view comm,
				std::string_view package);
	const std::vector<ReportTask> &all() const { return tasks_; }

private:
	std::map<std::tuple<std::int32_t, std::int32_t, std::string, std::string>, std::uint32_t>
		numbers_;
	std::vector<ReportTask> tasks_;
};

/* Something that happened at one time. */
struct ReportEvent {
	std::uint64_t time;
	std::string text;
};

class ReportData {
public:
	void record(const Record &record);
	void mark(const Mark &mark);
	void loss(const Loss &loss);

	struct Channel {
		std::uint64_t records = 0;
		std::uint64_t bytes = 0;
	};
	static constexpr std::size_t kEventsMax = 200;

	std::array<Channel, ZEM_CHANNEL_COUNT> channels = {};
	std::uint64_t start = UINT64_MAX; /* ns since the epoch */
	std::uint64_t end = 0;
	std::optional<MachineDescription> machine;
	std::optional<ClockReading> clock;
	std::map<std::uint32_t, CpuDescription> cpus;
	std::map<std::uint32_t, std::string> packages; /* by UID */
	ReportTasks tasks;
	std::vector<ReportEvent> losses;
	std::uint64_t more_losses = 0; /* than kEventsMax */
	std::vector<ReportEvent> usb;

	IntervalTable<1> rate{999'999'999}; /* channel: records */
	IntervalTable<1> cpu; /* CPU: usage in 0.01 % */
	IntervalTable<2> load; /* task: us that it ran, usage in 0.01 % */
	IntervalTable<4> svp; /* task: us on a CPU, waiting, in D state, waiting for IO */
	IntervalTable<3> groups; /* group: us waiting, in D state for IO, in other D state */
	IntervalTable<3> disks; /* device: bytes read, bytes written, ms busy */
	IntervalTable<2> uids; /* UID: bytes, us of IO wait */
	IntervalTable<ZEM_SCHED_BUCKETS + 1> sched; /* histogram: counts, us */
	std::array<std::string, ZEM_CGROUPS> group_names;

private:
	void add_load(std::uint64_t time, const zem_load &task);
	void add_svp(std::uint64_t time, const zem_svp &task);
	void add_kio(std::uint64_t time, const zem_kio &kio);
	void add_groups(std::uint64_t time, const zem_cgroup &payload);
	void add_sched(std::uint64_t time, const zem_sched &payload);
	void add_usb(std::uint64_t time, const zem_usb &event);

	std::optional<std::array<zem_io_disk, ZEM_IO_DEVICES>> last_disks_;
};

} // namespace zemctl
