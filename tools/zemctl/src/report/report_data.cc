// SPDX-License-Identifier: GPL-2.0
/*
 * Collects what a report shows of a capture.
 */
#include "report/report_data.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "decode/decoder.h"
#include "decode/io.h"
#include "text/json_writer.h"
#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kMicrosecond = 1000; /* ns */

/* A difference above 2^53 - 1 was below zero. */
std::uint64_t microseconds(std::uint64_t nanoseconds)
{
	return nanoseconds > kJsonLargest ? 0 : nanoseconds / kMicrosecond;
}

std::uint64_t hundredths_of_percent(std::uint64_t usage)
{
	constexpr std::uint64_t kFull = 10'000; /* 100 % */
	return usage > kJsonLargest / kFull ? 0 : usage * kFull / ZEM_CAPACITY_FULL;
}

template <typename Payload>
bool is_of(const Record &record, zem_channel channel)
{
	return record.header.channel == channel && record.payload().size() == sizeof(Payload);
}

} // namespace

std::uint32_t ReportTasks::number_of(std::int32_t tgid, std::int32_t pid, std::string_view comm,
				     std::string_view package)
{
	const auto [entry, is_new] =
		numbers_.try_emplace({tgid, pid, std::string(comm), std::string(package)},
				     static_cast<std::uint32_t>(tasks_.size()));
	if (is_new)
		tasks_.push_back({tgid, pid, std::string(comm), std::string(package)});
	return entry->second;
}

void ReportData::record(const Record &record)
{
	const std::uint64_t time = record.header.timestamp;
	const Bytes payload = record.payload();
	channels[record.header.channel].records++;
	channels[record.header.channel].bytes += record.whole.size();
	start = std::min(start, time);
	end = std::max(end, time);
	rate.add(time, record.header.channel, {1});
	if (is_of<zem_cpu>(record, ZEM_CHANNEL_CPU)) {
		const auto now = copy_payload<zem_cpu>(payload);
		cpu.add(time, now.cpu, {hundredths_of_percent(now.usage)});
	} else if (is_of<zem_load>(record, ZEM_CHANNEL_LOAD)) {
		add_load(time, copy_payload<zem_load>(payload));
	} else if (is_of<zem_svp>(record, ZEM_CHANNEL_SVP)) {
		add_svp(time, copy_payload<zem_svp>(payload));
	} else if (is_of<zem_kio>(record, ZEM_CHANNEL_KIO)) {
		add_kio(time, copy_payload<zem_kio>(payload));
	} else if (is_of<zem_cgroup>(record, ZEM_CHANNEL_CGROUP)) {
		add_groups(time, copy_payload<zem_cgroup>(payload));
	} else if (is_of<zem_sched>(record, ZEM_CHANNEL_SCHED)) {
		add_sched(time, copy_payload<zem_sched>(payload));
	} else if (is_of<zem_usb>(record, ZEM_CHANNEL_USB)) {
		add_usb(time, copy_payload<zem_usb>(payload));
	}
}

void ReportData::add_load(std::uint64_t time, const zem_load &task)
{
	const std::uint32_t number = tasks.number_of(task.ppid, static_cast<std::int32_t>(task.pid),
						     field_text(task.comm), field_text(task.pkg));
	load.add(time, number, {microseconds(task.runtime), hundredths_of_percent(task.usage)});
}

void ReportData::add_svp(std::uint64_t time, const zem_svp &task)
{
	const zem_svp_stats &stats = task.stats;
	const std::uint32_t number = tasks.number_of(
		task.tgid, task.pid, field_text(task.thread_name), field_text(task.package_name));
	svp.add(time, number,
		{microseconds(stats.runtime_total), microseconds(stats.run_delay_total),
		 microseconds(stats.d_state_duration_total), microseconds(stats.iowait_total)});
}

/* The statistics of devices are totals since boot: the first record has no increase. */
void ReportData::add_kio(std::uint64_t time, const zem_kio &kio)
{
	std::array<zem_io_disk, ZEM_IO_DEVICES> now;
	for (std::size_t i = 0; i < now.size(); i++)
		now[i] = kio.devices[i].disk;
	const std::array<zem_io_disk, ZEM_IO_DEVICES> before = last_disks_.value_or(now);
	for (std::uint32_t i = 0; i < now.size(); i++)
		disks.add(time, i,
			  {growth_of_total(now[i].rd_sectors, before[i].rd_sectors) * kSectorBytes,
			   growth_of_total(now[i].wr_sectors, before[i].wr_sectors) * kSectorBytes,
			   growth_of_total(now[i].io_ticks, before[i].io_ticks)});
	last_disks_ = now;
	for (std::size_t i = 0; i < filled_ranks(kio.io_top); i++) {
		const std::uint64_t bytes = kio.io_top[i].delta_total;
		uids.add(time, kio.io_top[i].uid, {bytes > kJsonLargest ? 0 : bytes, 0});
	}
	for (std::size_t i = 0; i < filled_ranks(kio.iowait_top); i++)
		uids.add(time, kio.iowait_top[i].uid,
			 {0, microseconds(kio.iowait_top[i].delta_iowait)});
}

void ReportData::add_groups(std::uint64_t time, const zem_cgroup &payload)
{
	for (std::uint32_t i = 0; i < ZEM_CGROUPS; i++) {
		const zem_cgroup_entry &group = payload.entries[i];
		group_names[i] = field_text(group.name);
		groups.add(time, i,
			   {microseconds(group.lat), microseconds(group.d_io),
			    microseconds(group.d_nonio)});
	}
}

void ReportData::add_sched(std::uint64_t time, const zem_sched &payload)
{
	for (std::uint32_t i = 0; i < kSchedHistograms.size(); i++) {
		const zem_sched_block &block = payload.*kSchedHistograms[i].block;
		std::array<std::uint64_t, ZEM_SCHED_BUCKETS + 1> values;
		std::ranges::copy(block.counts, values.begin());
		values.back() = microseconds(block.total_time * kSchedTimeUnit);
		sched.add(time, i, values);
	}
}

void ReportData::add_usb(std::uint64_t time, const zem_usb &event)
{
	if (usb.size() == kEventsMax)
		return;
	usb.push_back({time, fmt::format("{}: {} {}, {}", escaped(field_text(event.message)),
					 escaped(field_text(event.manufacturer)),
					 escaped(field_text(event.product)),
					 escaped(field_text(event.speed)))});
}

void ReportData::mark(const Mark &mark)
{
	if (mark.kind == MarkKind::kMachine) {
		machine = mark.as<MachineDescription>();
	} else if (mark.kind == MarkKind::kClock) {
		clock = mark.as<ClockReading>();
	} else if (mark.kind == MarkKind::kCpus) {
		for (const CpuDescription &description : cpus_of(mark))
			cpus[description.cpu] = description;
	} else if (mark.kind == MarkKind::kPackages) {
		for (const PackageName &package : packages_of(mark))
			packages.try_emplace(package.uid, package.package);
	}
}

void ReportData::loss(const Loss &loss)
{
	if (losses.size() == kEventsMax)
		more_losses++;
	else
		losses.push_back({loss.time, loss.description});
}

} // namespace zemctl
