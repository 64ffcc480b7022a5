/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The text of /proc/svp_metrics/svp_metrics: the collected SVP tasks.
 */
#pragma once

#include <string_view>
#include <vector>

#include <linux/zem.h>

namespace zemctl {

/* The tasks in the order of the text. Throws a Failure that says what is wrong, and where. */
std::vector<zem_svp> parse_svp_listing(std::string_view text);

} // namespace zemctl
