/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The paths of the module's files. An option of zemctl replaces each of them.
 */
#pragma once

#include <string>

#include <linux/zem.h>
#include <unistd.h>

namespace zemctl {

/* Android has no /run. */
inline std::string default_socket()
{
	return ::access("/dev/socket", F_OK) == 0 ? "/dev/socket/zem" : "/run/zem.sock";
}

struct Paths {
	std::string sysfs = ZEM_SYSFS_DIR;
	std::string device = ZEM_SHARED_DEVICE;
	std::string proc = "/proc";
	std::string kioind = "/sys/kioind";
	std::string module = "/sys/module/zem";
	std::string socket = default_socket(); /* of zemctl serve */

	std::string counters() const { return module + "/counters"; }
};

} // namespace zemctl
