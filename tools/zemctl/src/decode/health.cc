// SPDX-License-Identifier: GPL-2.0
/*
 * Formats the waiting times of groups of tasks.
 */
#include "decode/health.h"

#include <fmt/format.h>

#include "text/text.h"

namespace zemctl {

std::string health_milliseconds(std::uint64_t nanoseconds)
{
	if (has_wrapped(nanoseconds))
		return "-";
	return fmt::format("{}.{:03}", nanoseconds / 1'000'000, nanoseconds / 1000 % 1000);
}

std::string health_table(const zem_cgroup &groups)
{
	const auto row = [](std::string_view name, std::string_view lat, std::string_view d_io,
			    std::string_view d_nonio) {
		return fmt::format("{:<5}  {:>17}  {:>17}  {:>17}\n", name, lat, d_io, d_nonio);
	};
	std::string text = row("GROUP", "RUN DELAY ms", "D STATE IO ms", "D STATE ELSE ms");
	for (const zem_cgroup_entry &entry : groups.entries)
		text += row(escaped(field_text(entry.name)), health_milliseconds(entry.lat),
			    health_milliseconds(entry.d_io), health_milliseconds(entry.d_nonio));
	return text;
}

void health_json(const zem_cgroup &groups, JsonWriter &json)
{
	json.begin_array("groups");
	for (const zem_cgroup_entry &entry : groups.entries) {
		json.begin_object();
		json.name("name", field_text(entry.name));
		json.count("lat_ns", entry.lat);
		json.count("d_io_ns", entry.d_io);
		json.count("d_nonio_ns", entry.d_nonio);
		json.end_object();
	}
	json.end_array();
}

} // namespace zemctl
