// SPDX-License-Identifier: GPL-2.0
/*
 * Takes the values that the screen of zemctl top shows from records.
 */
#include "top/model.h"

#include <algorithm>
#include <utility>

#include "decode/decoder.h"
#include "decode/health.h"
#include "decode/histogram.h"
#include "decode/io.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kMillisecondNs = 1'000'000;

TopHistogram top_histogram(const zem_sched_block &block)
{
	TopHistogram histogram;
	std::ranges::copy(block.counts, histogram.counts.begin());
	histogram.time = block.total_time * kSchedTimeUnit;
	return histogram;
}

TopDisk growth_of_disk(const zem_io_disk &now, const zem_io_disk &before)
{
	return {growth_of_total(now.rd_sectors, before.rd_sectors) * kSectorBytes,
		growth_of_total(now.wr_sectors, before.wr_sectors) * kSectorBytes,
		growth_of_total(now.io_ticks, before.io_ticks) * kMillisecondNs};
}

TopUser &user_at(std::vector<TopUser> &users, std::uint32_t uid)
{
	const auto found = std::ranges::find(users, uid, &TopUser::uid);
	if (found != users.end())
		return *found;
	users.push_back({uid, {}, 0, 0});
	return users.back();
}

std::vector<TopUser> users_of(const zem_kio &kio)
{
	std::vector<TopUser> users;
	for (std::size_t i = 0; i < filled_ranks(kio.io_top); i++) {
		const std::uint64_t bytes = kio.io_top[i].delta_total;
		user_at(users, kio.io_top[i].uid).bytes = has_wrapped(bytes) ? 0 : bytes;
	}
	for (std::size_t i = 0; i < filled_ranks(kio.iowait_top); i++) {
		const std::uint64_t iowait = kio.iowait_top[i].delta_iowait;
		user_at(users, kio.iowait_top[i].uid).iowait = has_wrapped(iowait) ? 0 : iowait;
	}
	std::ranges::stable_sort(users, [](const TopUser &left, const TopUser &right) {
		return left.bytes != right.bytes ? left.bytes > right.bytes :
						   left.iowait > right.iowait;
	});
	return users;
}

} // namespace

void TopModel::add(const Record &record)
{
	const std::uint64_t time = record.header.timestamp;
	const Bytes payload = record.payload();
	records_++;
	rate_.add(time, record.whole.size());
	const Decoder *const decoder = find_decoder(record.header.channel);
	if (decoder == nullptr || payload.size() != decoder->size)
		return;
	switch (record.header.channel) {
	case ZEM_CHANNEL_CPU: {
		const auto cpu = copy_payload<zem_cpu>(payload);
		if (cpu.cpu < cpus_.size())
			cpus_[cpu.cpu] = cpu.usage;
		return;
	}
	case ZEM_CHANNEL_LOAD:
		return processes_.add(copy_payload<zem_load>(payload), time);
	case ZEM_CHANNEL_SVP:
		return processes_.add(copy_payload<zem_svp>(payload), time);
	case ZEM_CHANNEL_SCHED:
		return add(copy_payload<zem_sched>(payload), time);
	case ZEM_CHANNEL_KIO:
		return add(copy_payload<zem_kio>(payload), time);
	case ZEM_CHANNEL_CGROUP:
		return add(copy_payload<zem_cgroup>(payload), time);
	default:
		return;
	}
}

void TopModel::add(const zem_sched &sched, std::uint64_t time)
{
	sched_.set(time, {top_histogram(sched.svp_rundelay), top_histogram(sched.irqtime)});
}

/* The statistics of devices are totals since boot: the first record has no growth. */
void TopModel::add(const zem_kio &kio, std::uint64_t time)
{
	TopIo io;
	for (std::size_t i = 0; i < io.totals.size(); i++)
		io.totals[i] = kio.devices[i].disk;
	if (const auto *const before = io_.get()) {
		io.disks.emplace();
		for (std::size_t i = 0; i < io.totals.size(); i++)
			(*io.disks)[i] = growth_of_disk(io.totals[i], before->content.totals[i]);
	}
	io.users = users_of(kio);
	io_.set(time, std::move(io));
}

void TopModel::add(const zem_cgroup &cgroup, std::uint64_t time)
{
	std::vector<TopGroup> groups;
	for (const zem_cgroup_entry &entry : cgroup.entries)
		groups.push_back({std::string(field_text(entry.name)), entry.lat, entry.d_io,
				  entry.d_nonio});
	groups_.set(time, std::move(groups));
}

void TopModel::add(const Mark &mark)
{
	if (mark.kind == MarkKind::kCpus)
		describe_cpus(cpus_of(mark));
	if (mark.kind == MarkKind::kPackages) {
		for (const PackageName &name : packages_of(mark))
			add_package(name.uid, name.package);
	}
}

void TopModel::describe_cpus(const std::vector<CpuDescription> &cpus)
{
	for (const CpuDescription &cpu : cpus) {
		if (cpu.cpu < cluster_of_.size())
			cluster_of_[cpu.cpu] = cpu.cluster;
	}
}

void TopModel::add_package(std::uint32_t uid, std::string_view package)
{
	if (packages_.size() < kPackagesMax)
		packages_.try_emplace(uid, package);
}

void TopModel::add_losses(const TopLosses &losses)
{
	losses_.kernel += losses.kernel;
	losses_.dropped += losses.dropped;
	losses_.gaps += losses.gaps;
	losses_.bytes += losses.bytes;
}

std::string TopModel::package_of(std::uint32_t uid) const
{
	const auto found = packages_.find(uid);
	return found == packages_.end() ? std::string() : found->second;
}

/* Only CPUs with records have a place: a description also has CPUs that the module leaves out. */
std::vector<TopCluster> TopModel::clusters() const
{
	std::map<std::uint64_t, TopCluster> clusters;
	constexpr std::uint64_t kUnknown = UINT64_MAX;
	for (std::uint32_t cpu = 0; cpu < cpus_.size(); cpu++) {
		if (!cpus_[cpu])
			continue;
		TopCluster &cluster =
			clusters[cluster_of_[cpu] ? std::uint64_t{*cluster_of_[cpu]} : kUnknown];
		cluster.number = cluster_of_[cpu];
		cluster.cpus.push_back({cpu, *cpus_[cpu]});
	}
	std::vector<TopCluster> all;
	all.reserve(clusters.size());
	for (auto &[number, cluster] : clusters)
		all.push_back(std::move(cluster));
	return all;
}

TopView TopModel::view(std::uint64_t now, StreamState state) const
{
	TopView view;
	view.time = now;
	view.records = records_;
	view.rate = rate_.mean(now);
	view.history = rate_.history(now);
	view.losses = losses_;
	view.clusters = clusters();
	if (const auto *pass = sched_.get()) {
		view.sched_times = pass->times;
		view.run_delay = pass->content.run_delay;
		view.irq = pass->content.irq;
	}
	view.process_times = processes_.times(now, state);
	view.processes = processes_.shown(now, state);
	if (const auto *pass = io_.get()) {
		view.io_times = pass->times;
		view.disks = pass->content.disks;
		view.users = pass->content.users;
		for (TopUser &user : view.users)
			user.package = package_of(user.uid);
	}
	if (const auto *pass = groups_.get()) {
		view.group_times = pass->times;
		view.groups = pass->content;
	}
	return view;
}

} // namespace zemctl
