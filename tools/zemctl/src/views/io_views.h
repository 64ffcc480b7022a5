/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The views of the IO indicators below /sys/kioind. A read of one collects, as a record does: what
 * is told of the last interval is what came since the collection before.
 */
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <linux/zem.h>

namespace zemctl {

struct IoDeviceName {
	std::string path;
	std::uint32_t major; /* 0:0 while the kernel has not found it */
	std::uint32_t minor;
};

/* What the views lack is 0: the tail and two columns of the list by bytes. */
struct IoReading {
	std::array<IoDeviceName, ZEM_IO_DEVICES> names;
	zem_kio kio;
	bool cut; /* the kernel has a page for a view, which ended before the list by IO wait */
};

/* @directory is /sys/kioind. What is not as it should be fails with the file's name. */
IoReading read_io_views(const std::string &directory);

/* The texts of show1_diskstats, show2_uid_io and show3_bio_time, each for its part of @reading. */
void parse_disk_view(std::string_view text, IoReading &reading);
void parse_uid_view(std::string_view text, IoReading &reading);
void parse_bio_view(std::string_view text, IoReading &reading);

} // namespace zemctl
