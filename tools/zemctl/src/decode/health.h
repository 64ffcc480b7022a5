/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the waiting times of groups of tasks.
 */
#pragma once

#include <cstdint>
#include <string>

#include <linux/zem.h>

#include "text/json_writer.h"

namespace zemctl {

/*
 * Returns whether the sums were reset in the interval. The difference is then below zero and has no
 * meaning.
 */
constexpr bool has_wrapped(std::uint64_t difference)
{
	return difference >> 63 != 0;
}

/* Returns "12.345", or "-" for a difference that has wrapped. */
std::string health_milliseconds(std::uint64_t nanoseconds);

/* Returns a heading and a line for each group. */
std::string health_table(const zem_cgroup &groups);

/* Writes the member "groups". */
void health_json(const zem_cgroup &groups, JsonWriter &json);

} // namespace zemctl
