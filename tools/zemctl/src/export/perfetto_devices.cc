// SPDX-License-Identifier: GPL-2.0
/*
 * Waits, IO and USB as events of a Perfetto trace.
 */
#include "export/perfetto_families.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "decode/histogram.h"
#include "decode/io.h"
#include "text/json_writer.h"
#include "text/text.h"
#include "text/timestamp.h"

namespace zemctl {

/* A wait above 2^53 - 1 ns is the difference of sums that were reset: it is left out. */
void PerfettoWaits::record(std::uint64_t time, const zem_cgroup &groups)
{
	const TrackId parent = trace_.group(kNoParent, "Waits by group");
	for (const zem_cgroup_entry &group : groups.entries) {
		const std::string name = escaped(field_text(group.name));
		const auto count = [&](std::string_view what, std::uint64_t value) {
			const TrackId track = trace_.counters(
				parent, fmt::format("{}: {}", name, what), TrackUnit::kNanoseconds);
			if (value <= kJsonLargest)
				trace_.count(track, time, static_cast<std::int64_t>(value));
		};
		count("waiting for a CPU", group.lat);
		count("D state for IO", group.d_io);
		count("other D state", group.d_nonio);
	}
}

void PerfettoWaits::record(std::uint64_t time, const zem_sched &sched)
{
	const TrackId parent = trace_.group(kNoParent, "Scheduler");
	for (const SchedHistogram &histogram : kSchedHistograms) {
		const zem_sched_block &block = sched.*histogram.block;
		std::int64_t events = 0;
		for (const std::uint32_t number : block.counts)
			events += number;
		const std::string title(histogram.title);
		trace_.count(trace_.counters(parent, title + ": number", TrackUnit::kCount), time,
			     events);
		trace_.count(trace_.counters(parent, title + ": time", TrackUnit::kNanoseconds),
			     time, static_cast<std::int64_t>(block.total_time * kSchedTimeUnit));
	}
}

void PerfettoIo::describe(const Mark &mark)
{
	for (const PackageName &package : packages_of(mark))
		packages_.try_emplace(package.uid, escaped(package.package));
}

void PerfettoIo::record(std::uint64_t time, const zem_kio &kio)
{
	const TrackId parent = trace_.group(kNoParent, "IO");
	const auto count = [&](std::string_view name, std::uint64_t pages) {
		trace_.count(trace_.counters(parent, name, TrackUnit::kPages), time,
			     static_cast<std::int64_t>(std::min(pages, kJsonLargest)));
	};
	count("reads", kio.read_pages);
	count("synchronous writes", kio.write_sync_pages);
	count("asynchronous writes", kio.write_async_pages);

	Disks now = {time, {}};
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		now.disks[i] = kio.devices[i].disk;
		device(time, i, now.disks[i]);
	}
	last_ = now;

	const TrackId users = trace_.group(parent, "UIDs with the most IO");
	uids_.at(time);
	for (std::size_t i = 0; i < filled_ranks(kio.io_top); i++) {
		const zem_io_top &top = kio.io_top[i];
		const auto package = packages_.find(top.uid);
		const std::string name = package == packages_.end() ?
						 fmt::format("uid {}", top.uid) :
						 fmt::format("uid {} {}", top.uid, package->second);
		const std::uint64_t bytes = top.delta_total > kJsonLargest ? 0 : top.delta_total;
		uids_.count(trace_.counters(users, name, TrackUnit::kBytes), time,
			    static_cast<std::int64_t>(bytes));
	}
}

/* The statistics are totals since boot: the first record has no rates. */
void PerfettoIo::device(std::uint64_t time, std::size_t index, const zem_io_disk &disk)
{
	constexpr double kMillisecondsToPercent = 0.1; /* of a second */
	if (!last_ || time <= last_->time)
		return;
	const double seconds =
		static_cast<double>(time - last_->time) / static_cast<double>(kSecondNs);
	const zem_io_disk &before = last_->disks[index];
	const TrackId parent = trace_.group(trace_.group(kNoParent, "IO"), kIoDevices[index]);
	const auto rate = [&](std::string_view name, TrackUnit unit, double amount) {
		trace_.count(trace_.counters(parent, name, unit), time, amount / seconds);
	};
	rate("read", TrackUnit::kBytesPerSecond,
	     static_cast<double>(growth_of_total(disk.rd_sectors, before.rd_sectors) *
				 kSectorBytes));
	rate("written", TrackUnit::kBytesPerSecond,
	     static_cast<double>(growth_of_total(disk.wr_sectors, before.wr_sectors) *
				 kSectorBytes));
	rate("busy", TrackUnit::kPercent,
	     static_cast<double>(growth_of_total(disk.io_ticks, before.io_ticks)) *
		     kMillisecondsToPercent);
}

void PerfettoIo::finish()
{
	uids_.close();
}

/*
 * The record of a removal has the device that was seen last, which may be another one: if that is
 * not connected, the connection that began last ends.
 */
void PerfettoUsb::record(std::uint64_t time, const zem_usb &event)
{
	const TrackId parent = trace_.group(kNoParent, "USB");
	const std::string device = fmt::format("{:04x}:{:04x} {}", event.id_vendor,
					       event.id_product,
					       escaped(field_text(event.product)));
	const std::string maker = escaped(field_text(event.manufacturer));
	const std::string speed = escaped(field_text(event.speed));
	const std::string message = escaped(field_text(event.message));
	const Annotation annotations[] = {
		{"manufacturer", maker}, {"speed", speed}, {"message", message}};
	const TrackId track = trace_.group(parent, device);
	if (event.event == ZEM_USB_NEW_DEVICE) {
		connected_.push_back(track);
		return trace_.begin(track, time, "connected", annotations);
	}
	if (event.event != ZEM_USB_DISCONNECT || connected_.empty())
		return trace_.instant(track, time,
				      event.event == ZEM_USB_DISCONNECT ? "removed" :
				      event.event == ZEM_USB_NEW_DISK	? "disk" :
				      event.event == ZEM_USB_IO_ERROR	? "IO error" :
									  "other event",
				      annotations);
	auto found = std::find(connected_.rbegin(), connected_.rend(), track);
	if (found == connected_.rend())
		found = connected_.rbegin();
	trace_.end(*found, time);
	connected_.erase(std::next(found).base());
}

} // namespace zemctl
