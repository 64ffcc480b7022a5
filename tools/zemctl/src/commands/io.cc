// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl io: shows the IO of block devices, its latencies, and the UIDs with the most IO. Reading a
 * view collects, so the last interval is the time since the last collection.
 */
#include "commands/commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <numeric>
#include <span>
#include <vector>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/interval.h"
#include "commands/options.h"
#include "decode/histogram.h"
#include "decode/io.h"
#include "text/bars.h"
#include "text/fit.h"
#include "text/output.h"
#include "text/schema.h"
#include "text/text.h"
#include "views/io_views.h"

namespace zemctl {

namespace {

struct IoOptions {
	bool json = false;
	bool ascii = false;
	bool devices = false; /* each on its own */
	IntervalOptions interval;
};

std::string device_lines(const IoReading &reading)
{
	std::string text;
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		const IoDeviceName &name = reading.names[i];
		const bool found = name.major != 0 || name.minor != 0;
		text += fmt::format("{} ({})\n", escaped(name.path),
				    found ? fmt::format("{}:{}", name.major, name.minor) :
					    "not found");
		text += indented(disk_lines(reading.kio.devices[i].disk), "  ");
	}
	return text;
}

/* Returns the table of one class of IO for the sum of @devices. */
std::string latency_table(std::span<const zem_io_device> devices, const IoClass &io_class,
			  const ViewStyle &style)
{
	std::array<std::uint64_t, ZEM_IO_BUCKETS> counts = {};
	for (const zem_io_device &device : devices) {
		for (std::size_t bucket = 0; bucket < counts.size(); bucket++)
			counts[bucket] += (device.*io_class.latency).buckets[bucket];
	}
	const std::uint64_t sum = std::accumulate(counts.begin(), counts.end(), std::uint64_t{});
	std::vector<BarRow> rows;
	rows.reserve(counts.size());
	for (std::size_t bucket = 0; bucket < counts.size(); bucket++)
		rows.push_back({bucket_label(kIoBounds, bucket, BoundUnit::kMilliseconds),
				counts[bucket], percent_of(counts[bucket], sum)});
	return fmt::format("{} since upload, by time per 4 KiB: {}\n", io_class.title, sum) +
	       bar_table(rows, std::ranges::max(counts), style);
}

std::string latency_tables(const IoReading &reading, const IoOptions &options)
{
	const ViewStyle style = output_style(options.ascii);
	const std::span devices = reading.kio.devices;
	std::string text;
	for (std::size_t i = 0; i < (options.devices ? devices.size() : 1); i++) {
		for (const IoClass &io_class : kIoClasses) {
			text += '\n';
			if (options.devices)
				text += escaped(reading.names[i].path) + ", ";
			text += latency_table(options.devices ? devices.subspan(i, 1) : devices,
					      io_class, style);
		}
	}
	return text;
}

std::string io_text(const IoReading &reading, const IoOptions &options)
{
	return device_lines(reading) + latency_tables(reading, options) + '\n' +
	       io_total_lines(reading.kio) + '\n' + io_top_lines(reading.kio, IoSource::kViews);
}

std::string io_json(const IoReading &reading)
{
	JsonWriter json;
	json.begin_object();
	schema_json(json, "zemctl.io");
	io_bounds_json(json);
	json.begin_array("devices");
	for (std::size_t i = 0; i < ZEM_IO_DEVICES; i++) {
		json.begin_object();
		json.name("path", reading.names[i].path);
		json.number("major", reading.names[i].major);
		json.number("minor", reading.names[i].minor);
		io_device_json(reading.kio.devices[i], json);
		json.end_object();
	}
	json.end_array();
	io_totals_json(reading.kio, IoSource::kViews, json);
	json.boolean("iowait_top_cut", reading.cut);
	json.end_object();
	return std::string(json.take_line());
}

void show(const IoReading &reading, const Paths &paths, const IoOptions &options)
{
	if (reading.cut)
		fmt::print(
			stderr,
			"zemctl: {}/show2_uid_io: the numbers are so wide that the kernel cut off "
			"the list by IO wait\n",
			paths.kioind);
	if (options.json)
		write_to_stdout(io_json(reading));
	else
		write_table_to_stdout(io_text(reading, options));
}

int run_io(const Paths &paths, const IoOptions &options)
{
	const IoReading first = read_io_views(paths.kioind);
	if (!options.interval.are_given()) {
		show(first, paths, options);
		return kStatusSuccess;
	}
	Intervals intervals(options.interval);
	while (intervals.wait())
		show(read_io_views(paths.kioind), paths, options);
	return kStatusSuccess;
}

} // namespace

void add_io(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<IoOptions>();
	CLI::App *command = app.add_subcommand(
		"io", "Show the devices, the latencies of their IO, and the UIDs with the most "
		      "IO. This consumes: it collects, and the next record contains only later IO");
	add_interval(*command, options->interval);
	CLI::Option *json = command->add_flag("--json", options->json, "Print one JSON object");
	command->add_flag("--devices", options->devices,
			  "Show the latencies of each device separately")
		->excludes(json);
	command->add_flag("--ascii", options->ascii, "Draw bars in ASCII")->excludes(json);
	runs(*command, line, [options](const Paths &paths) { return run_io(paths, *options); });
}

} // namespace zemctl
