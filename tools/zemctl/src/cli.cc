// SPDX-License-Identifier: GPL-2.0
/*
 * The command line: the options of zemctl itself, and the commands in the order of the help text.
 */
#include "cli.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/errors.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "completion.h"
#include "text/output.h"
#include "usage_error.h"

namespace zemctl {

namespace {

constexpr void (*kAddCommand[])(CLI::App &, CommandLine &) = {
	add_status, add_doctor, add_set,  add_sched,  add_svp,	   add_load,
	add_health, add_io,	add_fg,	  add_forget, add_trigger, add_send,
	add_record, add_watch,	add_dump, add_unload,
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

/* These two look at all other commands. */
void add_completion(CLI::App &app, CommandLine &line)
{
	const auto shell = std::make_shared<std::string>();
	CLI::App *script = app.add_subcommand(
		"completion",
		"Print the script that makes a shell complete the arguments of zemctl");
	script->add_option("SHELL", *shell, "bash or zsh")
		->required()
		->check(CLI::IsMember({"bash", "zsh"}));
	runs(*script, line, [shell](const Paths &) {
		write_to_stdout(completion_script(*shell));
		return kStatusSuccess;
	});

	const auto words = std::make_shared<std::vector<std::string>>();
	CLI::App *complete =
		app.add_subcommand("complete", "Complete a command line, for the script");
	complete->group("");
	complete->add_option("WORD", *words, "The words after zemctl, up to the cursor");
	runs(*complete, line, [words, &app](const Paths &) {
		for (const std::string &word : completions(app, *words))
			write_to_stdout(word + '\n');
		return kStatusSuccess;
	});
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
	add_completion(app, line);
	try {
		app.parse(argc, argv);
		return line.action();
	} catch (const CLI::ParseError &error) {
		if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
			app.exit(error); /* prints the help or the version */
			return kStatusSuccess;
		}
		fmt::print(stderr, "zemctl: {}\nzemctl: {} --help has the usage\n",
			   describe_usage_error(app, error), parsed_command(app));
		return kStatusUsage;
	} catch (const Failure &failure) {
		fmt::print(stderr, "zemctl: {}\n", failure.what());
		return failure.status();
	} catch (const BrokenPipe &) {
		return kStatusSuccess;
	} catch (const std::exception &error) {
		fmt::print(stderr, "zemctl: {}\n", error.what());
		return kStatusFailure;
	}
}

} // namespace zemctl
