/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The IO indicators in tables: what a record and the views below /sys/kioind both hold, in words
 * and in JSON.
 */
#pragma once

#include <array>
#include <cstdint>
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

/* Nominal, in microseconds. */
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

/* "1.2 ms per 4 KiB" of a sum of times. */
std::string format_total_time(std::uint64_t total_time);

/* Three lines. */
std::string disk_lines(const zem_io_disk &disk);

/* What all devices did together: two lines. */
std::string io_total_lines(const zem_kio &kio);

/* Has no UID ever taken the place? */
bool is_vacant(const zem_io_top &top);
bool is_vacant(const zem_iowait_top &top);

/*
 * With the units in the names, or beside them: "bounds_ms" of "buckets", "total_time_unit_us" of
 * "total_time".
 */
nlohmann::ordered_json io_units_json();
nlohmann::ordered_json io_device_json(std::string_view path, const zem_io_device &device);
nlohmann::ordered_json iowait_top_json(const zem_iowait_top &top);
nlohmann::ordered_json io_totals_json(const zem_kio &kio);

} // namespace zemctl
