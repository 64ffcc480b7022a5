/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the IO indicators, which come from a record or from the views below /sys/kioind, as text
 * and as JSON.
 */
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <linux/zem.h>
#include <nlohmann/json_fwd.hpp>

namespace zemctl {

inline constexpr std::array<std::string_view, ZEM_IO_DEVICES> kIoDevices = {
	"/dev/block/sda",
	"/dev/block/sde",
	"/dev/block/by-name/super",
	"/dev/block/by-name/userdata",
};

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

/* Returns whether no UID has ever had the rank. */
bool is_vacant(const zem_io_top &top);

/*
 * Returns the indicators with all ranks. Names have the unit appended, except "buckets", whose
 * bounds are in "bounds_ms", and "total_time", whose unit is in "total_time_unit_us".
 */
nlohmann::ordered_json io_json(const zem_kio &kio, std::span<const std::string_view> paths,
			       IoSource source);

} // namespace zemctl
