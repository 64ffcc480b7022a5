// SPDX-License-Identifier: GPL-2.0
/*
 * Writes the marks of a capture as objects of a stream.
 */
#include "decode/json_stream.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "records/marks.h"
#include "text/text.h"

namespace zemctl {

namespace {

void clock_json(const Mark &mark, JsonWriter &json)
{
	const auto clock = mark.as<ClockReading>();
	json.text("type", "clock");
	json.decimal("time_ns", clock.realtime);
	json.decimal("monotonic_ns", clock.monotonic);
	json.decimal("boottime_ns", clock.boottime);
	json.number("utc_offset_s", clock.utc_offset);
	json.number("uncertainty_ns", clock.uncertainty);
}

void counters_json(const Mark &mark, JsonWriter &json)
{
	const auto counters = mark.as<ModuleCounters>();
	json.text("type", "counters");
	json.decimal("time_ns", mark.time);
	json.begin_object("counters");
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		json.key(kModuleCounters[i]);
		if ((counters.known >> i & 1) != 0)
			json.count(counters.values[i]);
		else
			json.null();
	}
	json.end_object();
}

void machine_json(const Mark &mark, JsonWriter &json)
{
	const auto machine = mark.as<MachineDescription>();
	json.text("type", "machine");
	json.decimal("time_ns", mark.time);
	json.number("page_size_bytes", machine.page_size);
	json.number("cpu_count", machine.cpus);
	json.name("boot_id", field_text(machine.boot_id));
	json.name("kernel_release", field_text(machine.kernel_release));
	json.name("model", field_text(machine.model));
}

void cpus_json(const Mark &mark, JsonWriter &json)
{
	json.text("type", "cpus");
	json.decimal("time_ns", mark.time);
	json.begin_array("cpu_list");
	for (const CpuDescription &cpu : cpus_of(mark)) {
		json.begin_object();
		json.number("cpu", cpu.cpu);
		json.number("cluster", cpu.cluster);
		json.number("capacity", cpu.capacity);
		json.end_object();
	}
	json.end_array();
}

void packages_json(const Mark &mark, JsonWriter &json)
{
	json.text("type", "packages");
	json.decimal("time_ns", mark.time);
	json.begin_array("package_list");
	for (const PackageName &package : packages_of(mark)) {
		json.begin_object();
		json.number("uid", package.uid);
		json.name("package", package.package);
		json.end_object();
	}
	json.end_array();
}

} // namespace

std::string_view JsonStream::mark(const Mark &mark)
{
	/* gap() and end() write these. */
	if (mark.kind == MarkKind::kGap || mark.kind == MarkKind::kEnd)
		return {};
	json_.begin_object();
	switch (mark.kind) {
	case MarkKind::kClock:
		clock_json(mark, json_);
		break;
	case MarkKind::kCounters:
		counters_json(mark, json_);
		break;
	case MarkKind::kMachine:
		machine_json(mark, json_);
		break;
	case MarkKind::kCpus:
		cpus_json(mark, json_);
		break;
	case MarkKind::kPackages:
		packages_json(mark, json_);
		break;
	case MarkKind::kGap:
	case MarkKind::kEnd:
		break; /* returned above */
	}
	json_.end_object();
	return json_.take_line();
}

} // namespace zemctl
