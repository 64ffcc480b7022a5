// SPDX-License-Identifier: GPL-2.0
/*
 * cgroup: the waiting times of the tasks in seven groups since the previous record.
 */
#include "decode/decoder.h"

#include "decode/health.h"
#include "text/text.h"

namespace zemctl {

namespace cgroup {

static void line(Bytes payload, TextBuffer &out)
{
	const auto groups = copy_payload<zem_cgroup>(payload);
	const zem_cgroup_entry &first = groups.entries[0];
	append_escaped(out, field_text(first.name));
	out.put(" waited ").put(health_milliseconds(first.lat)).put(" ms, slept in D state ");
	out.put(health_milliseconds(first.d_io)).put(" ms for IO and ");
	out.put(health_milliseconds(first.d_nonio)).put(" ms else");
}

static std::string full(Bytes payload)
{
	return health_table(copy_payload<zem_cgroup>(payload));
}

static void json(Bytes payload, JsonWriter &json)
{
	health_json(copy_payload<zem_cgroup>(payload), json);
}

} // namespace cgroup

const Decoder kCgroupDecoder = {sizeof(zem_cgroup), cgroup::line, cgroup::full, cgroup::json};

} // namespace zemctl
