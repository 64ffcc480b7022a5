/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The IO indicators in tables: what a record and the views below /sys/kioind both hold, in words
 * and in JSON.
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

/* The views lack the columns iowait and read_calls of the list by bytes. */
enum class IoSource { kRecord, kViews };

/* Three lines. */
std::string disk_lines(const zem_io_disk &disk);

/* What all devices did together: three lines. */
std::string io_total_lines(const zem_kio &kio);

/* Both lists, without the ranks that no UID has ever taken. */
std::string io_top_lines(const zem_kio &kio, IoSource source);

/* Has no UID ever taken the rank? */
bool is_vacant(const zem_io_top &top);

/*
 * With the units in the names, or beside them: "bounds_ms" of "buckets", "total_time_unit_us" of
 * "total_time". Every rank is there.
 */
nlohmann::ordered_json io_json(const zem_kio &kio, std::span<const std::string_view> paths,
			       IoSource source);

} // namespace zemctl
