// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl status: shows the settings of the module, their meaning, and the counters.
 */
#include "commands/commands.h"

#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <system_error>

#include <fmt/format.h>
#include <unistd.h>

#include "base/errors.h"
#include "commands/options.h"
#include "kernel/control_node.h"
#include "kernel/families.h"
#include "kernel/files.h"
#include "kernel/kernel_loss.h"
#include "kernel/metric_switches.h"
#include "kernel/processes.h"
#include "text/output.h"
#include "text/schema.h"

namespace zemctl {

namespace {

struct StatusOptions {
	bool json = false;
};

/* The display family runs in the first cycle after its seconds have passed. */
int cycles_of(const Family &family, int value)
{
	if (family.unit == IntervalUnit::kSeconds)
		return (value + kCycleSeconds - 1) / kCycleSeconds;
	return value;
}

std::string meaning_of(const Family &family, int value)
{
	if (family.unit == IntervalUnit::kNone)
		return fmt::format("{} (nothing reads it)", value);
	if (value == 0)
		return "off";
	const int cycles = cycles_of(family, value);
	const std::string often = cycles == 1 ? "every cycle" :
						fmt::format("every {} cycles", cycles);
	if (family.unit == IntervalUnit::kSeconds)
		return fmt::format("{} s: {} ({} s)", value, often, cycles * kCycleSeconds);
	return fmt::format("{} ({} s)", often, cycles * kCycleSeconds);
}

/* Returns "" if the device can be opened for reading, otherwise the reason. */
std::string device_fault(const std::string &path)
{
	if (::access(path.c_str(), R_OK) == 0)
		return {};
	return std::generic_category().message(errno);
}

std::string metrics_text(const Paths &paths)
{
	std::string text;
	for (const MetricSwitch &metrics : kMetricSwitches) {
		if (const auto on = is_switched_on(paths.proc, metrics))
			text += fmt::format("{}{} {}", text.empty() ? "" : ", ", metrics.name,
					    *on ? "on" : "off");
	}
	return text;
}

using AddLine = std::function<void(std::string_view, std::string_view)>;

/* Adds the counters since the module was loaded; "unknown" if the module lacks them. */
void add_counters(const AddLine &add, const KernelCounters &counters)
{
	const auto text = [&counters](KernelCounter counter) {
		const auto &value = counters[counter];
		return value ? fmt::format("{}", *value) : std::string("unknown");
	};
	add("pushed", fmt::format("{} records", text(KernelCounter::kPushed)));
	add("lost", counters.tells_loss() ?
			    fmt::format("{} records: {}", counters.lost(), counters.loss_text()) :
			    "unknown: " + counters.loss_text());
	add("unanswered", fmt::format("{} notifications", text(KernelCounter::kNotifyTimeouts)));
	add("empty passes", text(KernelCounter::kEmptyPasses));
	add("turned away", fmt::format("{} UIDs, {} SVP tasks", text(KernelCounter::kUidsRefused),
				       text(KernelCounter::kSvpTasksRefused)));
}

std::string collector_text(bool trace, std::optional<bool> running)
{
	if (!running)
		return "unknown: no thread of the kernel is visible";
	if (*running)
		return "running";
	return trace ? "not running: switch trace off and on" : "not running";
}

std::string as_text(const ControlNode &node, const Paths &paths)
{
	std::string text;
	const auto add = [&text](std::string_view name, std::string_view value) {
		text += fmt::format("{:<12} {}\n", name, value);
	};
	const bool trace = node.read_number("trace_on") != 0;
	add("trace", trace ? "on" : "off");
	add("collector", collector_text(trace, is_collector_running(paths.proc)));
	for (const Family &family : kFamilies)
		add(family.name, meaning_of(family, node.read_number(family.attribute)));
	if (const std::string metrics = metrics_text(paths); !metrics.empty())
		add("metrics", metrics);
	add("rb size", fmt::format("{} bytes per CPU", node.read_number("rb_size")));
	const std::string fault = device_fault(paths.device);
	add("device", fmt::format("{}: {}", paths.device, fault.empty() ? "ready" : fault));
	add_counters(add, KernelCounters::read(paths.counters()));
	return text;
}

void interval_json(const Family &family, int value, JsonWriter &json)
{
	json.key(family.name);
	json.begin_object();
	json.number("setting", value);
	json.key("unit");
	switch (family.unit) {
	case IntervalUnit::kCycles:
		json.text("cycles");
		break;
	case IntervalUnit::kSeconds:
		json.text("seconds");
		break;
	case IntervalUnit::kNone:
		json.null();
		break;
	}
	json.key("period_ms");
	if (family.unit == IntervalUnit::kNone)
		json.null();
	else
		json.number(cycles_of(family, value) * kCycleSeconds * 1000);
	json.end_object();
}

void metrics_json(const Paths &paths, JsonWriter &json)
{
	json.begin_object("metrics");
	for (const MetricSwitch &metrics : kMetricSwitches) {
		json.key(metrics.name);
		if (const auto on = is_switched_on(paths.proc, metrics))
			json.boolean(*on);
		else
			json.null();
	}
	json.end_object();
}

void device_json(const Paths &paths, JsonWriter &json)
{
	const std::string fault = device_fault(paths.device);
	json.begin_object("device");
	json.name("path", paths.device);
	json.boolean("ready", fault.empty());
	json.name_or_null("error", fault);
	json.end_object();
}

void counters_json(const Paths &paths, JsonWriter &json)
{
	const KernelCounters counters = KernelCounters::read(paths.counters());
	json.begin_object("counters");
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		json.key(kModuleCounters[i]);
		json.count(counters[static_cast<KernelCounter>(i)]);
	}
	json.end_object();
}

std::string as_json(const ControlNode &node, const Paths &paths)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.status");
	json.boolean("trace", node.read_number("trace_on") != 0);
	json.key("collector");
	if (const auto running = is_collector_running(paths.proc))
		json.boolean(*running);
	else
		json.null();
	json.begin_object("intervals");
	for (const Family &family : kFamilies)
		interval_json(family, node.read_number(family.attribute), json);
	json.end_object();
	metrics_json(paths, json);
	json.number("rb_size_bytes", node.read_number("rb_size"));
	device_json(paths, json);
	counters_json(paths, json);
	json.end_object();
	return std::string(json.take_line());
}

int run_status(const Paths &paths, const StatusOptions &options)
{
	const ControlNode node(paths.sysfs);
	write_to_stdout(options.json ? as_json(node, paths) : as_text(node, paths));
	return kStatusSuccess;
}

} // namespace

void add_status(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<StatusOptions>();
	CLI::App *command = app.add_subcommand(
		"status", "Show the settings, their meaning, and the lost records");
	command->add_flag("--json", options->json, "Print one JSON object");
	runs(*command, line, [options](const Paths &paths) { return run_status(paths, *options); });
}

} // namespace zemctl
