// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl sched: the scheduler histograms since the module was loaded, or of an interval. It
 * reads the totals alone, so it takes nothing from anybody.
 */
#include "commands.h"

#include <cerrno>
#include <chrono>
#include <optional>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <unistd.h>

#include "../errors.h"
#include "../histogram_view.h"
#include "../stop_signal.h"
#include "../terminal.h"

namespace zemctl {

namespace {

using Seconds = std::chrono::duration<double>;

struct SchedSpan {
	SchedReading reading;
	std::optional<Seconds> length; /* none: all the time */
};

/* A signal ends the wait early. */
void wait_for(Seconds length)
{
	const StopSignal stop;
	pollfd descriptor = {stop.fd(), POLLIN, 0};
	const auto end = std::chrono::steady_clock::now() + length;
	while (true) {
		const auto left = std::chrono::ceil<std::chrono::milliseconds>(
			end - std::chrono::steady_clock::now());
		if (left.count() <= 0)
			return;
		const int ready = ::poll(&descriptor, 1, static_cast<int>(left.count()));
		if (ready > 0)
			return;
		if (ready < 0 && errno != EINTR)
			throw system_failure("poll", errno);
	}
}

SchedSpan read_span(const std::string &directory, std::optional<double> seconds)
{
	SchedReading earlier = read_sched_views(directory);
	if (!seconds)
		return {std::move(earlier), std::nullopt};
	const auto start = std::chrono::steady_clock::now();
	wait_for(Seconds(*seconds));
	const SchedReading later = read_sched_views(directory);
	return {difference(later, earlier), std::chrono::steady_clock::now() - start};
}

std::string sched_text(const SchedSpan &span, const SchedOptions &options)
{
	const bool blocks = !options.ascii && locale_is_utf8();
	const ViewStyle style = {terminal_width(STDOUT_FILENO),
				 blocks ? BarStyle::kBlocks : BarStyle::kAscii};
	std::string text = span.length ? fmt::format("in {:.1f} s\n", span.length->count()) :
					 "since the module was loaded\n";
	for (std::size_t i = 0; i < span.reading.size(); i++) {
		text += '\n';
		text += histogram_table(kSchedHistograms[i], span.reading[i], style);
		if (options.cpus)
			text += cpu_table(kSchedHistograms[i], span.reading[i], style);
	}
	return text;
}

std::string sched_json(const SchedSpan &span)
{
	nlohmann::ordered_json object = {{"interval_seconds", nullptr}};
	if (span.length)
		object["interval_seconds"] = span.length->count();
	for (std::size_t i = 0; i < span.reading.size(); i++) {
		const HistogramReading &reading = span.reading[i];
		nlohmann::ordered_json cpus = nlohmann::ordered_json::array();
		for (const CpuTotals &cpu : reading.cpus)
			cpus.push_back({{"cpu", cpu.cpu},
					{"counts", cpu.totals.counts},
					{"time_ms", cpu.totals.milliseconds}});
		object[std::string(kSchedHistograms[i].name)] = {
			{"bounds_us", reading.bounds},
			{"counts", reading.all.counts},
			{"time_ms", reading.all.milliseconds},
			{"cpus", std::move(cpus)},
		};
	}
	return json_line(object);
}

} // namespace

int run_sched(const Paths &paths, const SchedOptions &options)
{
	const SchedSpan span = read_span(paths.proc + "/sched_metrics", options.interval);
	Output output(STDOUT_FILENO, "standard output");
	output.append(options.json ? sched_json(span) : sched_text(span, options));
	output.flush();
	return kStatusSuccess;
}

} // namespace zemctl
