// SPDX-License-Identifier: GPL-2.0
/*
 * The IO of devices and users.
 */
#include "metrics/io_sums.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace zemctl {

namespace {

constexpr std::uint64_t kIoPageSize = 4096;
constexpr std::uint64_t kMillisecondInNs = 1'000'000;
constexpr std::uint64_t kMicrosecondInNs = 1000;

constexpr std::array<std::string_view, 3> kBioKinds = {"read", "write_sync", "write_async"};
constexpr std::array<std::string_view, 2> kStates = {"foreground", "background"};
constexpr std::array<std::string_view, 4> kReadSizes = {"1", "2", "3-8", "9-"};
/* Of the buckets of struct zem_io_latency. */
constexpr std::array<std::string_view, ZEM_IO_BUCKETS> kLatencyRanges = {
	"0-1", "1-16", "16-67", "134-268", "268-536", "537-1074", "537-"};

} // namespace

IoSums::IoSums() : users_(kUsers, Labels().add("uid", "other"))
{
}

void IoSums::add(const zem_kio &kio, std::uint64_t time, Adder &adder)
{
	add_devices(kio, adder);
	const std::uint64_t bios[] = {kio.read_bios, kio.write_sync_bios, kio.write_async_bios};
	const std::uint64_t pages[] = {kio.read_pages, kio.write_sync_pages, kio.write_async_pages};
	static_assert(std::size(bios) == kBioKinds.size() && std::size(pages) == kBioKinds.size());
	for (std::size_t i = 0; i < std::size(bios); i++) {
		adder.add(bios_[i], bios[i]);
		adder.add(pages_[i], pages[i]);
	}
	adder.add(states_[0], kio.fg_bios);
	adder.add(states_[1], kio.bg_bios);
	for (std::size_t i = 0; i < kReadSizes.size(); i++)
		adder.add(sizes_[i], kio.read_sizes[i]);
	for (std::size_t rank = 0; rank < filled_ranks(kio.io_top); rank++)
		add_user(kio.io_top[rank], time, adder);
	for (std::size_t rank = 0; rank < filled_ranks(kio.iowait_top); rank++)
		add_user(kio.iowait_top[rank], time, adder);
}

/* Each device has the times of all devices. */
void IoSums::add_devices(const zem_kio &kio, Adder &adder)
{
	disks_.emplace();
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		(*disks_)[i] = kio.devices[i].disk;
		for (std::size_t of = 0; of < kIoClasses.size(); of++) {
			const zem_io_latency &latency = kio.devices[i].*kIoClasses[of].latency;
			for (std::size_t bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++)
				latencies_[i][of][bucket] += latency.buckets[bucket];
			if (i == 0)
				adder.add(page_time_[of],
					  latency.total_time * kTotalTimeUnit * kMicrosecondInNs);
		}
	}
}

/* Returns null if too many users were seen. */
IoSums::Seen *IoSums::seen(std::uint32_t uid)
{
	const auto found = seen_.find(uid);
	if (found != seen_.end())
		return &found->second;
	return seen_.size() < kUsersSeen ? &seen_[uid] : nullptr;
}

/*
 * The records have a user only in intervals in which it is among the heaviest, so its totals show
 * what the other intervals added. A user that is new, or was forgotten in between, adds what the
 * record has for the latest interval.
 */
void IoSums::add_user(const zem_io_top &top, std::uint64_t time, Adder &adder)
{
	static_assert(sizeof(zem_io_columns) == (kColumns - 1) * sizeof(std::uint64_t));
	Columns value = {}, increase = {};
	std::memcpy(value.data(), &top.value, sizeof(top.value));
	value[kReadCalls] = top.read_calls;
	std::memcpy(increase.data(), &top.delta, sizeof(top.delta));

	if (Seen *const before = seen(top.uid)) {
		if (before->columns && std::ranges::equal(value, *before->columns,
							  std::greater_equal<std::uint64_t>())) {
			for (std::size_t i = 0; i < kColumns; i++)
				increase[i] = value[i] - (*before->columns)[i];
		}
		if (before->iowait && value[kIowait] >= *before->iowait)
			increase[kIowait] = value[kIowait] - *before->iowait;
		before->columns = value;
		before->iowait = value[kIowait];
	}
	add_increase(top.uid, increase, time, adder);
}

void IoSums::add_user(const zem_iowait_top &top, std::uint64_t time, Adder &adder)
{
	Columns increase = {};
	increase[kIowait] = top.delta_iowait;
	if (Seen *const before = seen(top.uid)) {
		if (before->iowait && top.iowait >= *before->iowait)
			increase[kIowait] = top.iowait - *before->iowait;
		before->iowait = top.iowait;
	}
	add_increase(top.uid, increase, time, adder);
}

void IoSums::add_increase(std::uint32_t uid, const Columns &increase, std::uint64_t time,
			  Adder &adder)
{
	std::uint64_t weight = increase[kIowait] / 1000;
	for (std::size_t i = 0; i < 4; i++)
		weight += increase[i];
	Columns &sums = users_.at(Labels().add("uid", uid), has_wrapped(weight) ? 0 : weight, time);
	for (std::size_t i = 0; i < kColumns; i++)
		adder.add(sums[i], increase[i]);
}

void IoSums::write(MetricWriter &writer, std::uint64_t start) const
{
	write_disks(writer);
	write_bios(writer, start);
	write_users(writer, start);
}

/* The totals count since boot, and that is not known here as a time of the wall clock. */
void IoSums::write_disks(MetricWriter &writer) const
{
	const auto both = [&](Metric metric, __u64 zem_io_disk::*read, __u64 zem_io_disk::*written,
			      std::uint64_t unit) {
		writer.begin(metric);
		for (std::size_t i = 0; disks_ && i < ZEM_IO_DEVICES; i++) {
			const Labels device = Labels().add("device", kIoDevices[i]);
			const zem_io_disk &disk = (*disks_)[i];
			writer.counter(Labels(device).add("direction", "read"), disk.*read * unit);
			writer.counter(Labels(device).add("direction", "write"),
				       disk.*written * unit);
		}
	};
	both(Metric::kDiskIos, &zem_io_disk::rd_ios, &zem_io_disk::wr_ios, 1);
	both(Metric::kDiskMerges, &zem_io_disk::rd_merges, &zem_io_disk::wr_merges, 1);
	both(Metric::kDiskBytes, &zem_io_disk::rd_sectors, &zem_io_disk::wr_sectors, kSectorBytes);
	both(Metric::kDiskTime, &zem_io_disk::rd_ticks, &zem_io_disk::wr_ticks, kMillisecondInNs);
	writer.begin(Metric::kDiskBusy);
	for (std::size_t i = 0; disks_ && i < ZEM_IO_DEVICES; i++)
		writer.counter(Labels().add("device", kIoDevices[i]),
			       (*disks_)[i].io_ticks * kMillisecondInNs);
}

void IoSums::write_bios(MetricWriter &writer, std::uint64_t start) const
{
	writer.begin(Metric::kDiskBios);
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		for (std::size_t of = 0; of < kIoClasses.size(); of++) {
			for (std::size_t bucket = 0; bucket < ZEM_IO_BUCKETS; bucket++)
				writer.counter(Labels().add("device", kIoDevices[i])
						       .add("class", kIoClasses[of].name)
						       .add("milliseconds", kLatencyRanges[bucket]),
					       latencies_[i][of][bucket], start);
		}
	}
	const auto row = [&](Metric metric, std::string_view label, const auto &names,
			     const auto &values, std::uint64_t unit) {
		writer.begin(metric);
		for (std::size_t i = 0; i < names.size(); i++)
			writer.counter(Labels().add(label, names[i]), values[i] * unit, start);
	};
	std::array<std::string_view, kIoClasses.size()> classes;
	for (std::size_t i = 0; i < classes.size(); i++)
		classes[i] = kIoClasses[i].name;
	row(Metric::kBioPageTime, "class", classes, page_time_, 1);
	row(Metric::kBios, "kind", kBioKinds, bios_, 1);
	row(Metric::kBioBytes, "kind", kBioKinds, pages_, kIoPageSize);
	row(Metric::kBiosByState, "state", kStates, states_, 1);
	row(Metric::kReadBiosBySize, "pages", kReadSizes, sizes_, 1);
}

void IoSums::write_users(MetricWriter &writer, std::uint64_t start) const
{
	struct Column {
		std::size_t index;
		std::array<std::array<std::string_view, 2>, 2> labels;
	};
	const auto family = [&](Metric metric, std::initializer_list<Column> columns) {
		writer.begin(metric);
		users_.for_each(start, [&](const Labels &user, const Columns &sums,
					   std::uint64_t created) {
			for (const Column &column : columns) {
				Labels labels = user;
				for (const auto &[name, value] : column.labels) {
					if (!name.empty())
						labels.add(name, value);
				}
				writer.counter(labels, sums[column.index], created);
			}
		});
	};
	family(Metric::kUidBytes, {{0, {{{"direction", "read"}, {"state", "foreground"}}}},
				   {1, {{{"direction", "write"}, {"state", "foreground"}}}},
				   {2, {{{"direction", "read"}, {"state", "background"}}}},
				   {3, {{{"direction", "write"}, {"state", "background"}}}}});
	family(Metric::kUidBios,
	       {{4, {{{"state", "foreground"}}}}, {5, {{{"state", "background"}}}}});
	family(Metric::kUidIoWait, {{kIowait, {}}});
	family(Metric::kUidWriteCallBytes, {{7, {{{"kind", "sync"}}}}, {8, {{{"kind", "async"}}}}});
	family(Metric::kUidReadCalls, {{kReadCalls, {}}});
}

} // namespace zemctl
