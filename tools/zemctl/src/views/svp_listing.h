/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Parses /proc/svp_metrics/svp_metrics, the collected SVP tasks.
 */
#pragma once

#include <string_view>
#include <vector>

#include <linux/zem.h>

namespace zemctl {

/* Returns the tasks in the order of the text. Throws a Failure with the line of a mistake. */
std::vector<zem_svp> parse_svp_listing(std::string_view text);

} // namespace zemctl
