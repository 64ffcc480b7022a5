// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl load: shows the usage of CPUs and processes in a window of time. Reading closes the window
 * of the kernel. The first reading is discarded: the start of its window is unknown.
 */
#include "commands/commands.h"

#include <algorithm>
#include <memory>
#include <span>
#include <tuple>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "decode/capacity.h"
#include "kernel/metric_switches.h"
#include "text/bars.h"
#include "text/fit.h"
#include "text/output.h"
#include "text/schema.h"
#include "text/text.h"
#include "views/load_listing.h"
#include "views/view_file.h"

namespace zemctl {

namespace {

struct LoadOptions {
	bool json = false;
	bool ascii = false;
	IntervalOptions interval;
	std::optional<std::size_t> top; /* none: kUsualTop as text, all as JSON */
};

constexpr std::size_t kUsualTop = 20;
constexpr double kNanosecondsPerSecond = 1e9;

/* Sorts by usage, the highest first. Only the leaders of thread groups have a usage. */
LoadReading read_window(const std::string &file)
{
	LoadReading reading = parse_file(file, parse_load_listing);
	std::ranges::stable_sort(reading.tasks, std::ranges::greater(), [](const LoadTask &task) {
		return std::tuple(task.usage, task.combined);
	});
	return reading;
}

std::string cpu_bars(const LoadReading &reading, const ViewStyle &style)
{
	std::vector<BarRow> rows;
	std::uint64_t largest = ZEM_CAPACITY_FULL;
	for (std::size_t cpu = 0; cpu < reading.cpus.size(); cpu++) {
		const std::uint64_t usage = reading.cpus[cpu];
		rows.push_back({fmt::format("cpu{}", cpu), usage,
				fmt::format("{}", percent_of_capacity(usage))});
		largest = std::max(largest, usage);
	}
	return bar_table(rows, largest, style);
}

bool is_thread(const LoadTask &task)
{
	return task.tgid != static_cast<std::int64_t>(task.pid);
}

std::string task_rows(std::span<const LoadTask> tasks, bool with_threads)
{
	const auto row = [with_threads](const auto &usage, const auto &usage_percent,
					const auto &combined, const auto &combined_percent,
					const auto &tgid, const auto &pid, std::string_view mark,
					std::string_view comm, std::string_view package) {
		const std::string leader = with_threads ? fmt::format("{:>7}  ", tgid) : "";
		return fmt::format("{:>10}  {:>4}  {:>10}  {:>4}  {}{:>7}  {:<4}  {:<15}  {}\n",
				   usage, usage_percent, combined, combined_percent, leader, pid,
				   mark, comm, package);
	};
	std::string text =
		row("USAGE", "%", "COMBINED", "%", "TGID", "PID", "MARK", "NAME", "PACKAGE");
	for (const LoadTask &task : tasks)
		text += row(task.usage, percent_of_capacity(task.usage), task.combined,
			    percent_of_capacity(task.combined), task.tgid, task.pid,
			    task.leader_flag ? "*" : "-", escaped(task.comm),
			    task.pkg.empty() ? "-" : escaped(task.pkg));
	return text;
}

std::string load_text(const LoadReading &reading, const LoadOptions &options)
{
	const std::size_t shown = std::min(options.top.value_or(kUsualTop), reading.tasks.size());
	std::string text = fmt::format("in {:.1f} s\n\n",
				       static_cast<double>(reading.window) / kNanosecondsPerSecond);
	text += cpu_bars(reading, output_style(options.ascii));
	text += '\n';
	text += task_rows(std::span(reading.tasks).first(shown),
			  std::ranges::any_of(reading.tasks, is_thread));
	if (shown < reading.tasks.size())
		text += fmt::format("and {} more\n", reading.tasks.size() - shown);
	return text;
}

void task_json(const LoadTask &task, JsonWriter &json)
{
	json.begin_object();
	json.number("tgid", task.tgid);
	json.number("pid", task.pid);
	json.name("comm", task.comm);
	json.name("package", task.pkg);
	json.number("leader_flag", task.leader_flag ? 1 : 0);
	json.count("usage", task.usage);
	json.count("usage_percent", percent_of_capacity(task.usage));
	json.count("combined", task.combined);
	json.count("combined_percent", percent_of_capacity(task.combined));
	json.end_object();
}

std::string load_json(const LoadReading &reading, const LoadOptions &options)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.load");
	json.count("interval_ns", reading.window);
	json.decimal("end_monotonic_ns", reading.end);
	json.number("capacity_full", ZEM_CAPACITY_FULL);
	json.begin_array("cpus");
	for (std::size_t cpu = 0; cpu < reading.cpus.size(); cpu++) {
		json.begin_object();
		json.number("cpu", static_cast<std::uint32_t>(cpu));
		json.count("usage", reading.cpus[cpu]);
		json.count("usage_percent", percent_of_capacity(reading.cpus[cpu]));
		json.end_object();
	}
	json.end_array();
	const std::size_t shown =
		std::min(options.top.value_or(reading.tasks.size()), reading.tasks.size());
	json.begin_array("tasks");
	for (const LoadTask &task : std::span(reading.tasks).first(shown))
		task_json(task, json);
	json.end_array();
	json.end_object();
	return std::string(json.take_line());
}

int run_load(const Paths &paths, const LoadOptions &options)
{
	const std::string file = paths.proc + "/load_metrics/load_metrics";
	parse_file(file, parse_load_listing);
	warn_when_off(paths.proc, "load", "the usage of processes is not counted");
	Intervals intervals(options.interval);
	while (intervals.wait()) {
		const LoadReading reading = read_window(file);
		if (options.json)
			write_to_stdout(load_json(reading, options));
		else
			write_table_to_stdout(load_text(reading, options));
	}
	return kStatusSuccess;
}

} // namespace

void add_load(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<LoadOptions>();
	CLI::App *command = app.add_subcommand(
		"load", "Show the usage of CPUs and of processes, the highest first. This "
			"consumes: it reads twice, and no record will contain what it has read");
	add_interval(*command, options->interval);
	add_number<std::size_t>(*command, "--top", options->top,
				"The number of processes (20, or all with --json)", {.least = 1});
	CLI::Option *json = command->add_flag("--json", options->json, "Print one JSON object");
	command->add_flag("--ascii", options->ascii, "Draw bars in ASCII")->excludes(json);
	runs(*command, line, [options](const Paths &paths) { return run_load(paths, *options); });
}

} // namespace zemctl
