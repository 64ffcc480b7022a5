// SPDX-License-Identifier: GPL-2.0
/*
 * The command line. The one file that knows the parser's library.
 */
#include "cli.h"

#include <cstdio>
#include <functional>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "channels.h"
#include "commands/commands.h"
#include "errors.h"
#include "families.h"
#include "metric_switches.h"

namespace zemctl {

namespace {

/* Everything that options fill, and the command that they belong to. */
struct CommandLine {
	Paths paths;
	StatusOptions status;
	SchedOptions sched;
	SvpOptions svp;
	LoadOptions load;
	HealthOptions health;
	IoOptions io;
	std::string uid;
	std::string uid_state;
	std::string trace;
	std::string metrics;
	std::string metrics_state;
	std::string family;
	int interval = 0;
	int ring_buffer_size = 0;
	int train_number = 0;
	SendOptions send;
	RecordOptions record;
	WatchOptions watch;
	DumpOptions dump;
	std::function<int()> action;
};

std::vector<std::string> channel_names()
{
	return {kChannelNames.begin(), kChannelNames.end()};
}

/* The names of a table's rows. */
template <typename Table>
std::vector<std::string> names_of(const Table &table)
{
	std::vector<std::string> names;
	names.reserve(table.size());
	for (const auto &row : table)
		names.emplace_back(row.name);
	return names;
}

void add_status(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"status", "Show the settings, what they mean, and what was lost");
	command->add_flag("--json", line.status.json, "Print one JSON object");
	command->callback([&line] {
		line.action = [&] {
			return run_status(line.paths, line.status);
		};
	});
}

void add_set_metrics(CLI::App &set, CommandLine &line)
{
	CLI::App *metrics = set.add_subcommand(
		"metrics", "Switch metrics on or off: the counting for svp, sched, load and health "
			   "(on starts health's sums anew), the records for load-report and "
			   "cgroup, and with threads every thread in place of processes in load");
	metrics->add_option("FAMILY", line.metrics, "The family")
		->required()
		->check(CLI::IsMember(names_of(kMetricSwitches)));
	metrics->add_option("STATE", line.metrics_state, "on or off")
		->required()
		->check(CLI::IsMember({"on", "off"}));
	metrics->callback([&line] {
		line.action = [&] {
			return run_set_metrics(line.paths, line.metrics,
					       line.metrics_state == "on");
		};
	});
}

void add_set(CLI::App &app, CommandLine &line)
{
	CLI::App *set = app.add_subcommand("set", "Change a setting");
	set->require_subcommand(1);

	CLI::App *trace = set->add_subcommand("trace", "Switch recording on or off");
	trace->add_option("STATE", line.trace, "on or off")
		->required()
		->check(CLI::IsMember({"on", "off"}));
	trace->callback([&line] {
		line.action = [&] {
			return run_set_trace(line.paths, line.trace == "on");
		};
	});

	CLI::App *interval = set->add_subcommand(
		"interval", "Set how often a family is collected: in cycles of 5 s, display in "
			    "seconds, 0 is off");
	interval->add_option("FAMILY", line.family, "The family")
		->required()
		->check(CLI::IsMember(names_of(kFamilies)));
	interval->add_option("N", line.interval, "0-10000")->required();
	interval->callback([&line] {
		line.action = [&] {
			return run_set_interval(line.paths, line.family, line.interval);
		};
	});

	CLI::App *size = set->add_subcommand("rb-size", "Set the ring buffer's size per CPU");
	size->add_option("BYTES", line.ring_buffer_size, "4096-1048576")->required();
	size->callback([&line] {
		line.action = [&] {
			return run_set_ring_buffer_size(line.paths, line.ring_buffer_size);
		};
	});

	add_set_metrics(*set, line);
}

void add_sched(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand("sched",
					       "Show the scheduler histograms; takes nothing from "
					       "other readers");
	command->add_option("--interval", line.sched.interval,
			    "Show what comes in so many seconds from now on, in place of all")
		->check(CLI::Range(0.001, 1e6));
	CLI::Option *json = command->add_flag("--json", line.sched.json, "Print one JSON object");
	command->add_flag("--cpus", line.sched.cpus, "Show each CPU too")->excludes(json);
	command->add_flag("--ascii", line.sched.ascii, "Draw bars in ASCII")->excludes(json);
	command->callback([&line] {
		line.action = [&] {
			return run_sched(line.paths, line.sched);
		};
	});
}

void add_svp(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"svp", "Show the SVP tasks since the last collection, longest wait for a CPU "
		       "first. This consumes: the kernel forgets what it has shown, and no "
		       "record will carry it");
	command->add_flag("--json", line.svp.json, "Print one JSON object a line");
	command->callback([&line] {
		line.action = [&] {
			return run_svp(line.paths, line.svp);
		};
	});
}

void add_interval(CLI::App &command, double &seconds)
{
	command.add_option("--seconds", seconds, "How long to look")
		->capture_default_str()
		->check(CLI::Range(0.001, 1e6));
}

void add_load(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"load", "Show what CPUs and processes use, the heaviest first. This consumes: it "
			"reads twice, and what it has read no record will carry");
	add_interval(*command, line.load.seconds);
	command->add_option("--top", line.load.top, "So many processes (20, or all with --json)")
		->check(CLI::PositiveNumber);
	CLI::Option *json = command->add_flag("--json", line.load.json, "Print one JSON object");
	command->add_flag("--ascii", line.load.ascii, "Draw bars in ASCII")->excludes(json);
	command->callback([&line] {
		line.action = [&] {
			return run_load(line.paths, line.load);
		};
	});
}

void add_health(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"health", "Show how long groups of tasks waited for a CPU and slept "
			  "uninterruptibly. This consumes, unless with --total: it reads twice, "
			  "and what it has read no record will carry");
	add_interval(*command, line.health.seconds);
	command->add_flag("--total", line.health.total,
			  "Show the sums since they started; takes nothing from other readers")
		->excludes("--seconds");
	command->add_flag("--json", line.health.json, "Print one JSON object");
	command->callback([&line] {
		line.action = [&] {
			return run_health(line.paths, line.health);
		};
	});
}

void add_io(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"io", "Show devices, how long their IO took, and who had most of it. This "
		      "consumes: it collects, and the next record has what comes after");
	CLI::Option *json = command->add_flag("--json", line.io.json, "Print one JSON object");
	command->add_flag("--devices", line.io.devices, "Show each device's latencies by itself")
		->excludes(json);
	command->add_flag("--ascii", line.io.ascii, "Draw bars in ASCII")->excludes(json);
	command->callback([&line] {
		line.action = [&] {
			return run_io(line.paths, line.io);
		};
	});
}

void add_uids(CLI::App &app, CommandLine &line)
{
	CLI::App *fg = app.add_subcommand("fg", "Say whether a UID is in the foreground");
	fg->add_option("UID", line.uid, "The user id")->required();
	fg->add_option("STATE", line.uid_state, "on or off")
		->required()
		->check(CLI::IsMember({"on", "off"}));
	fg->callback([&line] {
		line.action = [&] {
			return run_fg(line.paths, line.uid, line.uid_state == "on");
		};
	});

	CLI::App *forget = app.add_subcommand("forget", "Drop what is counted of UIDs");
	forget->add_option("UID[-UID]", line.uid, "One user id, or the first and the last")
		->required();
	forget->callback([&line] {
		line.action = [&] {
			return run_forget(line.paths, line.uid);
		};
	});
}

void add_unload(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"unload", "Take the module out of the kernel, with the record that it waits for");
	command->callback([&line] {
		line.action = [&] {
			return run_unload(line.paths);
		};
	});
}

void add_trigger(CLI::App &app, CommandLine &line)
{
	CLI::App *command =
		app.add_subcommand("trigger", "Set the train number and collect once, now");
	command->add_option("N", line.train_number, "The train number, any 32-bit integer")
		->required();
	command->callback([&line] {
		line.action = [&] {
			return run_trigger(line.paths, line.train_number);
		};
	});
}

void add_send(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand(
		"send",
		fmt::format("Make one record of 1 to {} bytes, sent as they are", ZEM_STORE_MAX));
	command->add_option("CHANNEL", line.send.channel, "The channel")
		->required()
		->check(CLI::IsMember(channel_names()));
	CLI::Option *text = command->add_option("TEXT", line.send.text,
						"The payload; - or nothing: from standard input");
	command->add_option("--file", line.send.file, "Take the payload from this file")
		->excludes(text);
	command->callback([&line] {
		line.action = [&] {
			return run_send(line.paths, line.send);
		};
	});
}

void add_read_options(CLI::App &command, ReadOptions &options)
{
	command.add_option("--seconds", options.seconds, "End after so many seconds")
		->check(CLI::PositiveNumber);
	command.add_flag("--strict", options.strict,
			 "Exit with status 1 if anything was lost, in the kernel or here");
}

void add_record_limit(CLI::App &command, std::optional<std::uint64_t> &records)
{
	command.add_option("--records", records, "End after so many records")
		->check(CLI::PositiveNumber);
}

void add_print_options(CLI::App &command, PrintOptions &options)
{
	CLI::Option *json =
		command.add_flag("--json", options.json, "Print one JSON object a line");
	command.add_flag("--hex", options.hex, "Add a hex dump of every payload")->excludes(json);
	command.add_flag("--full", options.full, "Add all that decoded payloads say")
		->excludes(json);
	command.add_option("--channel", options.channels,
			   "Only these channels; may be repeated, takes a,b,c too")
		->delimiter(',')
		->allow_extra_args(false)
		->check(CLI::IsMember(channel_names()));
	add_record_limit(command, options.records);
}

void add_record(CLI::App &app, CommandLine &line)
{
	CLI::App *command =
		app.add_subcommand("record", "Write records to a capture file until Ctrl-C");
	command->add_option("-o,--output", line.record.file, "The file; - for standard output")
		->required();
	add_read_options(*command, line.record.read);
	add_record_limit(*command, line.record.records);
	command->callback([&line] {
		line.action = [&] {
			return run_record(line.paths, line.record);
		};
	});
}

void add_watch(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand("watch", "Show records as they arrive");
	add_read_options(*command, line.watch.read);
	add_print_options(*command, line.watch.print);
	/* Nothing else can follow here, so that --channel kmem svp is no mistake. */
	command->get_option("--channel")->allow_extra_args(true);
	command->callback([&line] {
		line.action = [&] {
			return run_watch(line.paths, line.watch);
		};
	});
}

void add_dump(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand("dump", "Show the records of a capture file");
	command->add_option("FILE", line.dump.file, "The file; - for standard input")->required();
	add_print_options(*command, line.dump.print);
	command->callback([&line] {
		line.action = [&] {
			return run_dump(line.dump);
		};
	});
}

void build(CLI::App &app, CommandLine &line)
{
	app.set_version_flag("--version", "zemctl " ZEMCTL_VERSION);
	app.add_option("--sysfs", line.paths.sysfs, "The module's control node")
		->capture_default_str();
	app.add_option("--device", line.paths.device, "The module's shared buffer")
		->capture_default_str();
	app.add_option("--proc", line.paths.proc, "Where procfs is mounted")->capture_default_str();
	app.add_option("--kioind", line.paths.kioind, "The module's IO indicators")
		->capture_default_str();
	app.add_option("--module", line.paths.module, "The module's own directory")
		->capture_default_str();
	app.require_subcommand(1);
	app.fallthrough();
	add_status(app, line);
	add_set(app, line);
	add_sched(app, line);
	add_svp(app, line);
	add_load(app, line);
	add_health(app, line);
	add_io(app, line);
	add_uids(app, line);
	add_trigger(app, line);
	add_send(app, line);
	add_record(app, line);
	add_watch(app, line);
	add_dump(app, line);
	add_unload(app, line);
}

} // namespace

int run_command_line(int argc, const char *const *argv)
{
	CLI::App app("Control, read and record the zem telemetry hub", "zemctl");
	CommandLine line;
	build(app, line);
	try {
		app.parse(argc, argv);
		return line.action();
	} catch (const CLI::ParseError &error) {
		return app.exit(error) == 0 ? kStatusSuccess : kStatusUsage;
	} catch (const Failure &failure) {
		fmt::print(stderr, "zemctl: {}\n", failure.what());
		return failure.status();
	} catch (const BrokenPipe &) {
		return kStatusSuccess;
	}
}

} // namespace zemctl
