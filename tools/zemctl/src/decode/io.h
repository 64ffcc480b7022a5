/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the IO indicators, which come from a record or from the views below /sys/kioind, as text
 * and as JSON.
 */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <linux/zem.h>

#include "text/json_writer.h"

namespace zemctl {

inline constexpr std::array<std::string_view, ZEM_IO_DEVICES> kIoDevices = {
	"/dev/block/sda",
	"/dev/block/sde",
	"/dev/block/by-name/super",
	"/dev/block/by-name/userdata",
};

/* The unit of zem_io_disk.rd_sectors and wr_sectors. */
inline constexpr std::uint64_t kSectorBytes = 512;

/* The unit of zem_io_latency.total_time, in us. */
inline constexpr std::uint64_t kTotalTimeUnit = 100;

/* Returns the growth of a running total. The totals of a device that was replaced begin again. */
constexpr std::uint64_t growth_of_total(std::uint64_t now, std::uint64_t before)
{
	return now >= before ? now - before : 0;
}

/* Returns a total time in microseconds; nothing for one that overflows, which has no meaning. */
std::optional<std::uint64_t> total_time_us(std::uint64_t total);

/* Nominal bounds in microseconds. */
inline constexpr std::array<std::uint32_t, ZEM_IO_BUCKETS - 1> kIoBounds = {1000,   16000,  67000,
									    134000, 268000, 536000};

struct IoClass {
	std::string_view name; /* as in struct zem_io_device */
	std::string_view title;
	zem_io_latency zem_io_device::*latency;
};

inline constexpr std::array kIoClasses = {
	IoClass{"read_fg", "foreground reads", &zem_io_device::read_fg},
	IoClass{"read_bg", "background reads", &zem_io_device::read_bg},
	IoClass{"write_fg", "foreground writes", &zem_io_device::write_fg},
	IoClass{"write_bg", "background writes", &zem_io_device::write_bg},
};

/* The views lack iowait and read_calls in the list by bytes. */
enum class IoSource { kRecord, kViews };

/* Returns three lines. */
std::string disk_lines(const zem_io_disk &disk);

/* Returns three lines with the sums of all devices. */
std::string io_total_lines(const zem_kio &kio);

/* Returns both lists without the vacant ranks. */
std::string io_top_lines(const zem_kio &kio, IoSource source);

/*
 * Return the number of ranks that a UID has had. The kernel fills ranks from the first one on, and
 * an entry of zeros is either a rank that was never filled or UID 0 without any IO: it is UID 0 if
 * a later rank is filled. As the last ranks both look alike, and count as vacant.
 */
std::size_t filled_ranks(std::span<const zem_io_top> ranks);
std::size_t filled_ranks(std::span<const zem_iowait_top> ranks);

/* Writes the member "io_bounds_us", the nominal bounds of the counts of each class of IO. */
void io_bounds_json(JsonWriter &json);

/* Writes the members of an element of "devices". */
void io_device_json(const zem_io_device &device, JsonWriter &json);

/* Writes "io_top", "iowait_top" and the sums of all devices. Vacant ranks are left out. */
void io_totals_json(const zem_kio &kio, IoSource source, JsonWriter &json);

} // namespace zemctl
