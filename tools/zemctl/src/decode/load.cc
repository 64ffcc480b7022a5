// SPDX-License-Identifier: GPL-2.0
/*
 * load: the CPU usage of one process or thread since its previous record.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/capacity.h"
#include "decode/histogram.h"
#include "text/text.h"

namespace zemctl {

namespace load {

static std::string line(Bytes payload)
{
	const auto task = copy_payload<zem_load>(payload);
	const std::string package = escaped(field_text(task.pkg));
	return fmt::format("{}{} {}/{}: usage {} ({} %), combined {} ({} %), ran {}",
			   escaped(field_text(task.comm)), package.empty() ? "" : " of " + package,
			   task.ppid, task.pid, task.usage, percent_of_capacity(task.usage),
			   task.combined, percent_of_capacity(task.combined),
			   format_milliseconds(task.runtime));
}

static std::string full(Bytes payload)
{
	const auto task = copy_payload<zem_load>(payload);
	const auto row = [](std::string_view title, const __u64(&counter)[2]) {
		return fmt::format("{:<16} {} {}\n", title, counter[0], counter[1]);
	};
	return fmt::format("{:<16} {}\n", "ran in all",
			   format_milliseconds(task.sum_exec_runtime)) +
	       fmt::format("{:<16} {}\n", "group marked", task.leader_flag != 0 ? "yes" : "no") +
	       row("counters A", task.counter_a) + row("counters B", task.counter_b) +
	       row("counters C", task.counter_c);
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto task = copy_payload<zem_load>(payload);
	return {
		{"capacity_full", ZEM_CAPACITY_FULL},
		{"pid", task.pid},
		{"comm", field_text(task.comm)},
		{"ppid", task.ppid},
		{"leader_flag", task.leader_flag},
		{"pkg", field_text(task.pkg)},
		{"runtime_ns", task.runtime},
		{"usage", task.usage},
		{"usage_percent", percent_of_capacity(task.usage)},
		{"combined", task.combined},
		{"combined_percent", percent_of_capacity(task.combined)},
		{"sum_exec_runtime_ns", task.sum_exec_runtime},
		{"counter_a", task.counter_a},
		{"counter_b", task.counter_b},
		{"counter_c", task.counter_c},
	};
}

} // namespace load

const Decoder kLoadDecoder = {sizeof(zem_load), load::line, load::full, load::json};

} // namespace zemctl
