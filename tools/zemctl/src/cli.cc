// SPDX-License-Identifier: GPL-2.0
/*
 * The command line: the options of zemctl itself, and the commands in the order of the help text.
 */
#include "cli.h"

#include <cstdio>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/errors.h"
#include "commands/commands.h"

namespace zemctl {

namespace {

constexpr void (*kAddCommand[])(CLI::App &, CommandLine &) = {
	add_status, add_set,	 add_sched, add_svp,	add_load,  add_health, add_io,	   add_fg,
	add_forget, add_trigger, add_send,  add_record, add_watch, add_dump,   add_unload,
};

void add_paths(CLI::App &app, Paths &paths)
{
	app.add_option("--sysfs", paths.sysfs, "The module's control node")->capture_default_str();
	app.add_option("--device", paths.device, "The module's shared buffer")
		->capture_default_str();
	app.add_option("--proc", paths.proc, "Where procfs is mounted")->capture_default_str();
	app.add_option("--kioind", paths.kioind, "The module's IO indicators")
		->capture_default_str();
	app.add_option("--module", paths.module, "The module's own directory")
		->capture_default_str();
}

} // namespace

int run_command_line(int argc, const char *const *argv)
{
	CLI::App app("Control, read and record the zem telemetry hub", "zemctl");
	CommandLine line;
	app.set_version_flag("--version", "zemctl " ZEMCTL_VERSION);
	app.require_subcommand(1);
	app.fallthrough();
	add_paths(app, line.paths);
	for (const auto add_command : kAddCommand)
		add_command(app, line);
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
