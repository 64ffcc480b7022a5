// SPDX-License-Identifier: GPL-2.0
/*
 * Adds up the IO snapshots of a capture, each of which covers the time since the previous one, and
 * counts inconsistent ones.
 */
#include "commands.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "records.h"

namespace {

constexpr std::size_t kSlot29Bucket = 5; /* the last bucket counts slot 29 again */

struct Sums {
	unsigned long records = 0;
	unsigned long odd_sized = 0;
	unsigned long contradictory = 0;
	std::uint64_t fg = 0;
	std::uint64_t bg = 0;
	std::uint64_t bios = 0;
	std::uint64_t pages = 0;
	std::uint64_t twice = 0; /* bios that count in two buckets */
	std::uint64_t read_sizes = 0;
	std::uint64_t uids = 0; /* used entries of the list by bytes */
	std::uint64_t devices[ZEM_IO_DEVICES] = {}; /* bios in buckets */
};

struct Buckets {
	std::uint64_t all = 0;
	std::uint64_t twice = 0;
	bool agrees = true;

	void add(const zem_io_latency &latency)
	{
		for (const std::uint32_t count : latency.buckets)
			all += count;
		twice += latency.buckets[kSlot29Bucket];
		agrees = agrees && !latency.reserved &&
			 latency.buckets[kSlot29Bucket + 1] >= latency.buckets[kSlot29Bucket];
	}
};

/*
 * Return: whether a total is the sum of its parts. The order and repeated UIDs are not checked: an
 * unused entry may hold what a view left there.
 */
bool top_agrees(const zem_io_top &top)
{
	const std::uint64_t total = top.delta.frb + top.delta.fwb + top.delta.brb + top.delta.bwb;
	return !top.reserved && !top.reserved1 && !top.reserved2[0] && !top.reserved2[1] &&
	       top.delta_total == total;
}

bool device_agrees(const zem_io_device &device, const zem_io_device &first)
{
	return !device.disk.in_flight && !device.disk.time_in_queue &&
	       device.read_fg.total_time == first.read_fg.total_time &&
	       device.read_bg.total_time == first.read_bg.total_time &&
	       device.write_fg.total_time == first.write_fg.total_time &&
	       device.write_bg.total_time == first.write_bg.total_time;
}

void add(Bytes payload, Sums &sums)
{
	zem_kio kio;
	sums.records++;
	if (payload.size() != sizeof(kio)) {
		sums.odd_sized++;
		return;
	}
	std::memcpy(&kio, payload.data(), sizeof(kio));

	Buckets fg, bg;
	bool agrees = !kio.reserved;
	for (const zem_io_top &top : kio.io_top)
		agrees = agrees && top_agrees(top);
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const zem_io_device &device = kio.devices[i];
		const std::uint64_t before = fg.all + bg.all;
		fg.add(device.read_fg);
		fg.add(device.write_fg);
		bg.add(device.read_bg);
		bg.add(device.write_bg);
		sums.devices[i] += fg.all + bg.all - before;
		agrees = agrees && device_agrees(device, kio.devices[0]);
	}
	agrees = agrees && fg.agrees && bg.agrees && fg.all == kio.fg_bios && bg.all == kio.bg_bios;
	sums.contradictory += !agrees;
	sums.fg += kio.fg_bios;
	sums.bg += kio.bg_bios;
	sums.twice += fg.twice + bg.twice;
	sums.bios += kio.read_bios + kio.write_sync_bios + kio.write_async_bios;
	sums.pages += kio.read_pages + kio.write_sync_pages + kio.write_async_pages;
	for (const std::uint64_t count : kio.read_sizes)
		sums.read_sizes += count;
	for (const zem_io_top &top : kio.io_top)
		sums.uids += top.uid != 0;
}

} // namespace

/* The bios in no bucket are all bios, less the buckets' sum, plus the bios in two buckets. */
int run_kio_sums(Arguments arguments)
{
	const std::vector<unsigned char> records = records_of(read_whole(arguments[0]));
	Bytes bytes = records;
	Sums sums;
	while (const auto record = first_record(bytes)) {
		if (record->header.channel == ZEM_CHANNEL_KIO)
			add(record->payload, sums);
		bytes = bytes.subspan(record->size());
	}
	std::printf("records=%lu\nodd_sized=%lu\ncontradictory=%lu\n", sums.records, sums.odd_sized,
		    sums.contradictory);
	const auto print = [](const char *name, std::uint64_t value) {
		std::printf("%s=%llu\n", name, static_cast<unsigned long long>(value));
	};
	print("fg", sums.fg);
	print("bg", sums.bg);
	print("bios", sums.bios);
	print("pages", sums.pages);
	print("twice", sums.twice);
	print("read_sizes", sums.read_sizes);
	print("uids", sums.uids);
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++)
		print(("device" + std::to_string(i)).c_str(), sums.devices[i]);
	return 0;
}
