/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Turns the records of each family into events of a Perfetto trace.
 */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <linux/zem.h>

#include "export/changing_list.h"
#include "export/perfetto_trace.h"
#include "records/record.h"

namespace zemctl {

/* cpu: a counter for each CPU, and one for each cluster with the sum of its CPUs. */
class PerfettoCpus {
public:
	explicit PerfettoCpus(PerfettoTrace &trace) : trace_(trace) {}

	void describe(const Mark &mark);
	void record(std::uint64_t time, const zem_cpu &cpu);
	void finish();

private:
	PerfettoTrace &trace_;
	std::map<std::uint32_t, std::uint32_t> clusters_; /* by CPU */
	/* The CPUs of one interval so far. */
	std::map<std::uint32_t, std::uint64_t> usage_;
	std::uint64_t time_ = 0;
};

/* load and svp: counters of processes and threads, and slices for the intervals with long waits. */
class PerfettoTasks {
public:
	explicit PerfettoTasks(PerfettoTrace &trace)
		: trace_(trace), loads_(trace), important_(trace)
	{
	}

	void record(std::uint64_t time, const zem_load &task);
	void record(std::uint64_t time, const zem_svp &task);
	void finish();

private:
	void long_waits(std::uint64_t time, const zem_svp &task, TrackId thread);

	PerfettoTrace &trace_;
	ChangingList loads_;
	ChangingList important_;
	std::map<std::int32_t, std::uint64_t> last_svp_; /* by tid */
};

/* cgroup and sched: counters for each group and each histogram. */
class PerfettoWaits {
public:
	explicit PerfettoWaits(PerfettoTrace &trace) : trace_(trace) {}

	void record(std::uint64_t time, const zem_cgroup &groups);
	void record(std::uint64_t time, const zem_sched &sched);

private:
	PerfettoTrace &trace_;
};

/* kio: rates of each device, pages of all of them, and bytes of the UIDs with the most IO. */
class PerfettoIo {
public:
	explicit PerfettoIo(PerfettoTrace &trace) : trace_(trace), uids_(trace) {}

	void describe(const Mark &mark);
	void record(std::uint64_t time, const zem_kio &kio);
	void finish();

private:
	struct Disks {
		std::uint64_t time;
		std::array<zem_io_disk, ZEM_IO_DEVICES> disks;
	};

	void device(std::uint64_t time, std::size_t index, const zem_io_disk &disk);

	PerfettoTrace &trace_;
	ChangingList uids_;
	std::map<std::uint32_t, std::string> packages_; /* by UID */
	std::optional<Disks> last_;
};

/* usb: a slice from the connection of a device to its removal. */
class PerfettoUsb {
public:
	explicit PerfettoUsb(PerfettoTrace &trace) : trace_(trace) {}

	void record(std::uint64_t time, const zem_usb &event);

private:
	PerfettoTrace &trace_;
	std::vector<TrackId> connected_; /* the latest is the last one */
};

} // namespace zemctl
