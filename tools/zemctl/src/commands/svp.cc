// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl svp: shows the SVP tasks since the last collection, sorted by their wait for a CPU, the
 * longest first. The kernel drops the tasks that it has shown.
 */
#include "commands/commands.h"

#include <algorithm>
#include <memory>
#include <vector>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "decode/svp.h"
#include "text/fit.h"
#include "text/output.h"
#include "text/schema.h"
#include "views/svp_listing.h"
#include "views/view_file.h"

namespace zemctl {

namespace {

struct SvpOptions {
	bool json = false;
	IntervalOptions interval;
};

std::string svp_heading()
{
	return fmt::format("{:>12}  {:>12}  {:>12}  {:>12}  {:>7}  {:>7}  {:<15}  {}\n",
			   "RUN DELAY ms", "RUNTIME ms", "D STATE ms", "IO WAIT ms", "TGID", "PID",
			   "THREAD", "PACKAGE");
}

std::string svp_row(const zem_svp &task)
{
	const auto milliseconds = [](std::uint64_t nanoseconds) {
		return fmt::format("{}.{:03}", nanoseconds / 1'000'000, nanoseconds / 1000 % 1000);
	};
	const std::string package = svp_package_name(task);
	return fmt::format("{:>12}  {:>12}  {:>12}  {:>12}  {:>7}  {:>7}  {:<15}  {}\n",
			   milliseconds(task.stats.run_delay_total),
			   milliseconds(task.stats.runtime_total),
			   milliseconds(task.stats.d_state_duration_total),
			   milliseconds(task.stats.iowait_total), task.tgid, task.pid,
			   svp_thread_name(task), package.empty() ? "-" : package);
}

std::string svp_text(const std::vector<zem_svp> &tasks)
{
	std::string text = svp_heading();
	for (const zem_svp &task : tasks)
		text += svp_row(task);
	return text;
}

std::string svp_tasks_json(const std::vector<zem_svp> &tasks)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.svp");
	svp_bounds_json(json);
	json.begin_array("svp_tasks");
	for (const zem_svp &task : tasks) {
		json.begin_object();
		svp_json(task, json);
		json.end_object();
	}
	json.end_array();
	json.end_object();
	return std::string(json.take_line());
}

void show(std::vector<zem_svp> tasks, const SvpOptions &options)
{
	std::ranges::stable_sort(tasks, std::ranges::greater(),
				 [](const zem_svp &task) { return task.stats.run_delay_total; });
	if (options.json)
		write_to_stdout(svp_tasks_json(tasks));
	else
		write_table_to_stdout(svp_text(tasks));
}

int run_svp(const Paths &paths, const SvpOptions &options)
{
	const std::string file = paths.proc + "/svp_metrics/svp_metrics";
	std::vector<zem_svp> tasks = parse_file(file, parse_svp_listing);
	if (!options.interval.are_given()) {
		show(std::move(tasks), options);
		return kStatusSuccess;
	}
	Intervals intervals(options.interval);
	while (intervals.wait())
		show(parse_file(file, parse_svp_listing), options);
	return kStatusSuccess;
}

} // namespace

void add_svp(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<SvpOptions>();
	CLI::App *command = app.add_subcommand(
		"svp", "Show the SVP tasks since the last collection, the longest wait for a CPU "
		       "first. This consumes: the kernel drops what it has shown, and no "
		       "record will contain it");
	add_interval(*command, options->interval);
	command->add_flag("--json", options->json, "Print one JSON object");
	runs(*command, line, [options](const Paths &paths) { return run_svp(paths, *options); });
}

} // namespace zemctl
