// SPDX-License-Identifier: GPL-2.0
/*
 * The command line: the options of zemctl itself, and the commands in the order of the help text.
 */
#include "cli.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/errors.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "manual/command_names.h"
#include "completion.h"
#include "manual/examples.h"
#include "manual/page.h"
#include "manual/render.h"
#include "text/output.h"
#include "text/terminal.h"
#include "usage_error.h"

namespace zemctl {

namespace {

constexpr void (*kAddCommand[])(CLI::App &, CommandLine &) = {
	add_status, add_doctor, add_set,    add_sched,	 add_svp,    add_load,	 add_health,
	add_io,	    add_fg,	add_forget, add_trigger, add_send,   add_record, add_watch,
	add_top,    add_serve,	add_dump,   add_export,	 add_report, add_unload,
};

/* The result would refer to a temporary. */
const CLI::App &named_command(const CLI::App &&app, const std::string &name) = delete;

/* The command of @app with that @name; @app itself for "". */
const CLI::App &named_command(const CLI::App &app, const std::string &name)
{
	if (name.empty())
		return app;
	const std::vector<std::string> known = command_names(app);
	if (std::ranges::find(known, name) == known.end())
		throw usage_failure(unknown_word("command", name, known));
	return *app.get_subcommand(name);
}

/* Long lines are hard to read, so the text of a wide terminal is as wide as a page. */
std::size_t text_columns()
{
	return std::clamp(terminal_width(STDOUT_FILENO), kTextColumns / 2, kTextColumns);
}

void add_paths(CLI::App &app, Paths &paths)
{
	app.add_option("--sysfs", paths.sysfs, "The module's control node")
		->type_name("DIR")
		->capture_default_str();
	app.add_option("--device", paths.device, "The module's shared buffer")
		->type_name("FILE")
		->capture_default_str();
	app.add_option("--proc", paths.proc, "Where procfs is mounted")
		->type_name("DIR")
		->capture_default_str();
	app.add_option("--kioind", paths.kioind, "The module's IO indicators")
		->type_name("DIR")
		->capture_default_str();
	app.add_option("--module", paths.module,
		       "The module's own directory, which has its counters")
		->type_name("DIR")
		->capture_default_str();
	app.add_option("--socket", paths.socket, "The socket of zemctl serve")
		->type_name("FILE")
		->capture_default_str();
}

/* Adds `help`, which knows all other commands, and their examples to their own help. */
void add_manual(CLI::App &app, CommandLine &line)
{
	struct HelpOptions {
		std::string command;
		bool roff = false;
	};
	const auto options = std::make_shared<HelpOptions>();
	CLI::App *help = app.add_subcommand("help", "Show the manual of a command");
	help->add_option("COMMAND", options->command,
			 "The command; zemctl itself if it is missing");
	help->add_flag("--roff", options->roff, "Print the source of the manual page, for man");
	runs(*help, line, [options, &app](const Paths &) {
		const Page page = manual_page(app, named_command(app, options->command));
		write_to_stdout(options->roff ? roff_of(page) :
						text_of(page.blocks, text_columns()));
		return kStatusSuccess;
	});
	for (const std::string &name : command_names(app))
		app.get_subcommand(name)->footer(examples_of(name));
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
	add_manual(app, line);
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
