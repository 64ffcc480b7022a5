// SPDX-License-Identifier: GPL-2.0
/*
 * load: the CPU usage of one process or thread since its previous record.
 */
#include "decode/decoder.h"

#include <fmt/format.h>

#include "decode/capacity.h"
#include "decode/histogram.h"
#include "decode/task.h"

namespace zemctl {

namespace load {

static void line(Bytes payload, TextBuffer &out)
{
	const auto task = copy_payload<zem_load>(payload);
	append_task(out, field_text(task.comm), field_text(task.pkg), task.ppid, task.pid);
	out.put("usage ").number(task.usage).put(" (").number(percent_of_capacity(task.usage));
	out.put(" %), combined ").number(task.combined).put(" (");
	out.number(percent_of_capacity(task.combined)).put(" %), ran ");
	append_milliseconds(out, task.runtime);
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

static void json(Bytes payload, JsonWriter &json)
{
	const auto task = copy_payload<zem_load>(payload);
	const auto counters = [&json](const __u64(&pair)[2]) {
		json.begin_array();
		json.decimal(pair[0]);
		json.decimal(pair[1]);
		json.end_array();
	};
	json.number("tgid", task.ppid);
	json.number("pid", task.pid);
	json.name("comm", field_text(task.comm));
	json.name("package", field_text(task.pkg));
	json.number("leader_flag", task.leader_flag);
	json.count("runtime_ns", task.runtime);
	json.count("usage", task.usage);
	json.count("usage_percent", percent_of_capacity(task.usage));
	json.count("combined", task.combined);
	json.count("combined_percent", percent_of_capacity(task.combined));
	json.decimal("sum_exec_runtime_ns", task.sum_exec_runtime);
	json.key("counter_a");
	counters(task.counter_a);
	json.key("counter_b");
	counters(task.counter_b);
	json.key("counter_c");
	counters(task.counter_c);
}

} // namespace load

const Decoder kLoadDecoder = {sizeof(zem_load), load::line, load::full, load::json};

} // namespace zemctl
