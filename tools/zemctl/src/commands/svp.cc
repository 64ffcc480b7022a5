// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl svp: the SVP tasks that were collected since the last record or reading, the one that
 * waited longest for a CPU first. The kernel forgets what it shows here.
 */
#include "commands.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "../decoders/svp.h"
#include "../errors.h"
#include "../files.h"
#include "../svp_listing.h"

namespace zemctl {

namespace {

std::vector<zem_svp> read_svp_tasks(const std::string &file)
{
	require_module_file(file);
	const std::string text = read_whole_file(file);
	try {
		return parse_svp_listing(text);
	} catch (const Failure &failure) {
		throw Failure(fmt::format("{}: {}", file, failure.what()));
	}
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

} // namespace

int run_svp(const Paths &paths, const SvpOptions &options)
{
	std::vector<zem_svp> tasks = read_svp_tasks(paths.proc + "/svp_metrics/svp_metrics");
	std::ranges::stable_sort(tasks, std::ranges::greater(),
				 [](const zem_svp &task) { return task.stats.run_delay_total; });
	Output output(STDOUT_FILENO, "standard output");
	if (!options.json)
		output.append(fmt::format("{:>12}  {:>12}  {:>12}  {:>12}  {:>7}  {:>7}  {:<15}  "
					  "{}\n",
					  "RUN DELAY ms", "RUNTIME ms", "D STATE ms", "IO WAIT ms",
					  "TGID", "PID", "THREAD", "PACKAGE"));
	for (const zem_svp &task : tasks)
		output.append(options.json ? json_line(svp_json(task)) : svp_row(task));
	output.flush();
	return kStatusSuccess;
}

} // namespace zemctl
