/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses the views of the IO indicators below /sys/kioind. Reading a view collects, as a record
 * does: the last interval in the text began with the previous collection.
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
	std::uint32_t major; /* 0:0 if the kernel has not found the device */
	std::uint32_t minor;
};

/* The tail and two columns of the list by bytes are 0: the views lack them. */
struct IoReading {
	std::array<IoDeviceName, ZEM_IO_DEVICES> names;
	zem_kio kio;
	bool cut; /* the page ended within the list by IO wait: a view is at most one page */
};

/* Reads the views in @directory. Throws a Failure with the name of the file. */
IoReading read_io_views(const std::string &directory);

/* Parse show1_diskstats, show2_uid_io and show3_bio_time, each into its part of @reading. */
void parse_disk_view(std::string_view text, IoReading &reading);
void parse_uid_view(std::string_view text, IoReading &reading);
void parse_bio_view(std::string_view text, IoReading &reading);

} // namespace zemctl
