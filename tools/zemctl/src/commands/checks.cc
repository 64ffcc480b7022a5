// SPDX-License-Identifier: GPL-2.0
/*
 * The checks of zemctl doctor. Each adds its findings to the list.
 */
#include "commands/checks.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>

#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "kernel/control_node.h"
#include "kernel/families.h"
#include "kernel/files.h"
#include "kernel/metric_switches.h"
#include "kernel/processes.h"
#include "serve/unix_socket.h"
#include "text/words.h"

namespace zemctl {

namespace {

namespace fs = std::filesystem;

using Findings = std::vector<Finding>;

void check_trace(const Paths &paths, Findings &findings)
{
	const ControlNode node(paths.sysfs);
	if (node.read_number("trace_on") == 0) {
		findings.push_back({Severity::kFault, "trace", "off: every record is dropped",
				    "zemctl set trace on", [node] {
					    node.write_number("trace_on", 1);
				    }});
		return;
	}
	if (is_collector_running(paths.proc) == false)
		findings.push_back({Severity::kFault, "collector",
				    "not running: no family is collected",
				    "zemctl set trace off && zemctl set trace on", [node] {
					    node.write_number("trace_on", 0);
					    node.write_number("trace_on", 1);
				    }});
}

/* The value that the module has after a load, in the unit of the family. */
int usual_interval(const Family &family)
{
	return family.unit == IntervalUnit::kSeconds ? 2 * kCycleSeconds : 1;
}

void check_intervals(const Paths &paths, Findings &findings)
{
	const ControlNode node(paths.sysfs);
	for (const Family &family : kFamilies) {
		if (family.unit == IntervalUnit::kNone || node.read_number(family.attribute) != 0)
			continue;
		const int interval = usual_interval(family);
		findings.push_back(
			{Severity::kFault, "interval",
			 fmt::format("{} is 0: {} is not collected", family.attribute, family.name),
			 fmt::format("zemctl set interval {} {}", family.name, interval),
			 [node, family, interval] {
				 node.write_number(family.attribute, interval);
			 }});
	}
}

/* Threads instead of processes are a choice, not a fault. */
constexpr std::string_view kThreads = "threads";

void check_switches(const Paths &paths, Findings &findings)
{
	for (const MetricSwitch &metrics : kMetricSwitches) {
		if (metrics.name == kThreads || is_switched_on(paths.proc, metrics) != false)
			continue;
		const std::string file = fmt::format("{}/{}", paths.proc, metrics.file);
		findings.push_back({Severity::kFault, "metrics",
				    fmt::format("{} is off: its figures are empty", metrics.name),
				    fmt::format("zemctl set metrics {} on", metrics.name), [file] {
					    write_whole_file(file, "1\n");
				    }});
	}
}

void check_schedstats(const Paths &paths, Findings &findings)
{
	const auto kept = keeps_schedstats(paths.proc);
	if (!kept)
		findings.push_back(
			{Severity::kFault, "schedstats",
			 "this kernel has none: the waits in health, and the D states in "
			 "health and svp, stay 0",
			 "", nullptr});
	else if (!*kept)
		findings.push_back({Severity::kFault, "schedstats",
				    "off: the waits in health, and the D states in health and svp, "
				    "stay 0",
				    "sysctl kernel.sched_schedstats=1",
				    [file = schedstats_file(paths.proc)] {
					    write_whole_file(file, "1\n");
				    }});
}

/* Returns the places where the hierarchy of the cpu controller is, or may be, mounted. */
std::vector<std::string> cpu_hierarchies(const std::string &proc)
{
	std::vector<std::string> places;
	const std::string mounts = read_whole_file(proc + "/mounts");
	for (std::string_view rest = mounts; !rest.empty();) {
		const std::vector<std::string_view> words = words_of(take_line(rest));
		if (words.size() < 4)
			continue;
		const std::string options = fmt::format(",{},", words[3]);
		if (words[2] == "cgroup2" ||
		    (words[2] == "cgroup" && options.find(",cpu,") != std::string::npos))
			places.emplace_back(words[1]);
	}
	return places;
}

bool has_group(const std::string &hierarchy, std::string_view name)
{
	std::error_code error;
	for (fs::recursive_directory_iterator
		     entry(hierarchy, fs::directory_options::skip_permission_denied, error),
	     end;
	     !error && entry != end; entry.increment(error)) {
		std::error_code gone;
		if (entry->path().filename() == name && entry->is_directory(gone))
			return true;
	}
	return false;
}

void check_groups(const Paths &paths, Findings &findings)
{
	const std::vector<std::string> hierarchies = cpu_hierarchies(paths.proc);
	const bool found = std::ranges::any_of(hierarchies, [](const std::string &hierarchy) {
		return has_group(hierarchy, "foreground");
	});
	if (found)
		return;
	findings.push_back(
		{Severity::kFault, "groups",
		 "no cpu control group is named foreground: the rows of groups stay 0, "
		 "and the module searches for the group again and again",
		 hierarchies.empty() ? "" : fmt::format("mkdir {}/foreground", hierarchies.front()),
		 nullptr});
}

void check_loss(const Paths &paths, const LossMeter &loss, Findings &findings)
{
	const KernelCounters &growth = loss.growth();
	const KernelCounters total = KernelCounters::read(loss.directory());
	if (!total.tells_loss()) {
		findings.push_back({Severity::kFault, "counters",
				    loss.directory() + " does not have all counters: a loss would "
						       "not be noticed",
				    "", nullptr});
		return;
	}
	const ControlNode node(paths.sysfs);
	const int size = node.read_number("rb_size");
	const int larger = std::min(kRingBufferMax, size * 4);
	const std::uint64_t overwritten = growth[KernelCounter::kOverwritten].value_or(0);
	if (overwritten > 0 && size < kRingBufferMax)
		findings.push_back(
			{Severity::kFault, "ring",
			 fmt::format("{} bytes per CPU are too few for the present rate: "
				     "{} records were overwritten during the check",
				     size, overwritten),
			 fmt::format("zemctl set rb-size {}", larger), [node, larger] {
				 node.write_number("rb_size", larger);
			 }});
	if (total.lost() > 0)
		findings.push_back({Severity::kNote, "loss",
				    fmt::format("{} records since the module was loaded: {}",
						total.lost(), total.loss_text()),
				    "zemctl record --strict -o FILE", nullptr});
}

std::string names_of(const std::vector<Process> &processes)
{
	std::string names;
	for (const Process &process : processes)
		names += fmt::format(" {} ({})", process.pid, process.comm);
	return names;
}

/* A server reads for all of its clients. @readers have the buffer open or mapped. */
void check_beside_server(std::optional<std::uint32_t> server, std::vector<Process> readers,
			 Findings &findings)
{
	std::string text = "the shared buffer belongs to zemctl serve";
	if (server) {
		text += fmt::format(" (process {})", *server);
		std::erase_if(readers,
			      [&](const Process &reader) { return reader.pid == *server; });
	}
	/* A server without a pid here is not among the readers either: procfs does not show it. */
	if (!readers.empty())
		text += fmt::format(", but is also open in{}: they take records from each other",
				    names_of(readers));
	findings.push_back({readers.empty() ? Severity::kNote : Severity::kFault, "readers", text,
			    "", nullptr});
}

void check_readers(const Paths &paths, Findings &findings)
{
	const std::vector<Process> readers = list_holders(paths.proc, paths.device);
	const FileDescriptor connection = connect_to_server(paths.socket);
	if (connection.is_open())
		return check_beside_server(server_pid(connection), readers, findings);
	if (readers.empty())
		return;
	const bool is_alone = readers.size() == 1;
	const std::string text =
		fmt::format("the shared buffer is open in{}: {}", names_of(readers),
			    is_alone ? "a second reader would take records from it" :
				       "two readers take records from each other");
	findings.push_back(
		{is_alone ? Severity::kNote : Severity::kFault, "readers", text, "", nullptr});
}

void check_time_zone(Findings &findings)
{
	const char *zone = std::getenv("TZ");
	if ((zone != nullptr && *zone != '\0') || ::access("/etc/localtime", F_OK) == 0)
		return;
	findings.push_back({Severity::kNote, "clock",
			    "no time zone is set: local times are those of UTC",
			    "export TZ=Area/City", nullptr});
}

} // namespace

std::vector<Finding> run_checks(const Paths &paths, const LossMeter &loss)
{
	Findings findings;
	check_trace(paths, findings);
	check_intervals(paths, findings);
	check_switches(paths, findings);
	check_schedstats(paths, findings);
	check_groups(paths, findings);
	check_loss(paths, loss, findings);
	check_readers(paths, findings);
	check_time_zone(findings);
	return findings;
}

} // namespace zemctl
