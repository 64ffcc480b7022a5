/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Records for the screen of zemctl top, with times of the test's own.
 */
#pragma once

#include <string_view>
#include <vector>

#include "metrics_fixture.h"
#include "records/capture_writer.h"
#include "top/model.h"

namespace zemctl {

inline constexpr std::uint64_t kTopStart = kMetricsStart;
inline constexpr std::uint64_t kTopMs = 1'000'000;

template <typename Payload>
void add_to(TopModel &model, std::uint8_t channel, const Payload &payload, std::uint64_t time)
{
	const ByteVector bytes = record_with(channel, payload, time);
	model.add(as_record(bytes));
}

inline zem_load load_of(std::int32_t tgid, std::uint32_t pid, std::string_view comm,
			std::string_view package, std::uint64_t usage, std::uint64_t runtime)
{
	zem_load load = made_load(comm, runtime, package);
	load.ppid = tgid;
	load.pid = pid;
	load.usage = usage;
	return load;
}

inline zem_svp svp_of(std::int32_t tgid, std::int32_t pid, std::string_view comm,
		      std::uint64_t run_delay, std::uint64_t d_state, std::uint64_t iowait)
{
	zem_svp svp = {};
	svp.tgid = tgid;
	svp.pid = pid;
	set_field(svp.thread_name, comm);
	svp.stats.run_delay_total = run_delay;
	svp.stats.d_state_duration_total = d_state;
	svp.stats.iowait_total = iowait;
	return svp;
}

inline zem_cpu cpu_of(std::uint32_t cpu, std::uint64_t percent)
{
	zem_cpu record = {};
	record.cpu = cpu;
	record.usage = percent * ZEM_CAPACITY_FULL / 100;
	return record;
}

inline std::vector<CpuDescription> three_clusters()
{
	std::vector<CpuDescription> cpus;
	for (std::uint32_t cpu = 0; cpu < 8; cpu++)
		cpus.push_back({cpu, cpu < 4 ? 0u : cpu < 7 ? 1u : 2u, 1024, 0});
	return cpus;
}

inline zem_kio kio_of(std::uint64_t factor)
{
	zem_kio kio = {};
	kio.devices[3].disk.rd_sectors = 20'000 * factor;
	kio.devices[3].disk.wr_sectors = 1000 * factor;
	kio.devices[3].disk.io_ticks = 2500 * factor;
	kio.io_top[0].uid = 10'200;
	kio.io_top[0].value.frb = 1;
	kio.io_top[0].delta_total = 10'240'000;
	kio.iowait_top[0].uid = 10'300;
	kio.iowait_top[0].iowait = 1;
	kio.iowait_top[0].delta_iowait = 7 * kTopMs;
	return kio;
}

inline zem_cgroup cgroup_of(std::uint64_t delay)
{
	constexpr std::string_view kNames[] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};
	zem_cgroup cgroup = {};
	for (std::size_t i = 0; i < ZEM_CGROUPS; i++) {
		set_field(cgroup.entries[i].name, kNames[i]);
		cgroup.entries[i].lat = delay / (i + 1);
		cgroup.entries[i].d_io = delay / 10;
	}
	cgroup.entries[1].d_nonio = std::uint64_t{0} - 5;
	return cgroup;
}

inline zem_sched sched_of(std::uint32_t count)
{
	zem_sched sched = {};
	for (std::uint32_t i = 0; i < ZEM_SCHED_BUCKETS; i++) {
		sched.svp_rundelay.counts[i] = count / (i + 1);
		sched.irqtime.counts[i] = i == 0 ? 10 * count : 0;
	}
	sched.svp_rundelay.total_time = 1'000'000;
	sched.irqtime.total_time = 50'000;
	return sched;
}

/* A model with everything that a screen shows, of two passes five seconds apart. */
inline TopModel full_model(std::size_t processes = 30)
{
	TopModel model;
	model.describe_cpus(three_clusters());
	model.add_package(10'200, "org.maps");
	for (std::uint64_t pass = 1; pass <= 2; pass++) {
		const std::uint64_t time = kTopStart + pass * 5 * kNsPerSecond;
		for (std::uint32_t cpu = 0; cpu < 8; cpu++)
			add_to(model, ZEM_CHANNEL_CPU, cpu_of(cpu, 10 * cpu + 5 * pass), time);
		for (std::uint32_t i = 0; i < processes; i++)
			add_to(model, ZEM_CHANNEL_LOAD,
			       load_of(static_cast<std::int32_t>(1000 + i), 1000 + i,
				       "worker/" + std::to_string(i), i == 3 ? "org.maps" : "",
				       (i * 7919 % 30) * ZEM_CAPACITY_FULL / 100,
				       (i * 7919 % 30) * 30 * kTopMs),
			       time);
		add_to(model, ZEM_CHANNEL_SVP,
		       svp_of(1003, 1004, "render", 123 * kTopMs, 4 * kTopMs, 1500), time);
		add_to(model, ZEM_CHANNEL_SCHED, sched_of(120), time);
		add_to(model, ZEM_CHANNEL_KIO, kio_of(pass), time);
		add_to(model, ZEM_CHANNEL_CGROUP, cgroup_of(900 * kTopMs), time);
	}
	return model;
}

/* Returns what full_model() shows at its end. */
inline TopView full_view(std::size_t processes = 30)
{
	return full_model(processes).view(kTopStart + 10 * kNsPerSecond, StreamState::kEnded);
}

} // namespace zemctl
