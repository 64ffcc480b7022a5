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

namespace zemctl {

namespace {

/* Everything that options fill, and the command that they belong to. */
struct CommandLine {
	Paths paths;
	StatusOptions status;
	std::string trace;
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

std::vector<std::string> family_names()
{
	std::vector<std::string> names;
	for (const Family &family : kFamilies)
		names.emplace_back(family.name);
	return names;
}

void add_status(CLI::App &app, CommandLine &line)
{
	CLI::App *command = app.add_subcommand("status", "Show the settings and what they mean");
	command->add_flag("--json", line.status.json, "Print one JSON object");
	command->callback([&line] {
		line.action = [&] {
			return run_status(line.paths, line.status);
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
		->check(CLI::IsMember(family_names()));
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
	command.add_flag("--strict", options.strict, "Exit with status 1 if anything was lost");
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
	app.require_subcommand(1);
	app.fallthrough();
	add_status(app, line);
	add_set(app, line);
	add_trigger(app, line);
	add_send(app, line);
	add_record(app, line);
	add_watch(app, line);
	add_dump(app, line);
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
