// SPDX-License-Identifier: GPL-2.0
/*
 * cgroup: the waiting times of the tasks in seven groups since the previous record.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/health.h"
#include "text/text.h"

namespace zemctl {

namespace cgroup {

static std::string line(Bytes payload)
{
	const auto groups = copy_payload<zem_cgroup>(payload);
	const zem_cgroup_entry &first = groups.entries[0];
	return fmt::format("{} waited {} ms, slept in D state {} ms for IO and {} ms else",
			   escaped(field_text(first.name)), health_milliseconds(first.lat),
			   health_milliseconds(first.d_io), health_milliseconds(first.d_nonio));
}

static std::string full(Bytes payload)
{
	return health_table(copy_payload<zem_cgroup>(payload));
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto groups = copy_payload<zem_cgroup>(payload);
	nlohmann::ordered_json entries = nlohmann::ordered_json::array();
	for (const zem_cgroup_entry &entry : groups.entries)
		entries.push_back({
			{"name", field_text(entry.name)},
			{"lat_ns", entry.lat},
			{"d_io_ns", entry.d_io},
			{"d_nonio_ns", entry.d_nonio},
		});
	return {{"entries", std::move(entries)}};
}

} // namespace cgroup

const Decoder kCgroupDecoder = {sizeof(zem_cgroup), cgroup::line, cgroup::full, cgroup::json};

} // namespace zemctl
