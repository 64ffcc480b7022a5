/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The commands. Each adds itself to the parser of the command line, with its options and with the
 * function that runs it. Commands write to standard output and standard error, return the exit
 * status, and throw a Failure if they fail.
 */
#pragma once

#include <functional>

#include "kernel/paths.h"

namespace CLI {
class App;
}

namespace zemctl {

struct CommandLine {
	Paths paths;
	/*
	 * Runs the command that the command line names. Call it after the parser has returned:
	 * options of zemctl itself may follow those of the command.
	 */
	std::function<int()> action;
};

void add_doctor(CLI::App &app, CommandLine &line);
void add_dump(CLI::App &app, CommandLine &line);
void add_export(CLI::App &app, CommandLine &line);
void add_fg(CLI::App &app, CommandLine &line);
void add_forget(CLI::App &app, CommandLine &line);
void add_health(CLI::App &app, CommandLine &line);
void add_io(CLI::App &app, CommandLine &line);
void add_load(CLI::App &app, CommandLine &line);
void add_record(CLI::App &app, CommandLine &line);
void add_report(CLI::App &app, CommandLine &line);
void add_sched(CLI::App &app, CommandLine &line);
void add_send(CLI::App &app, CommandLine &line);
void add_serve(CLI::App &app, CommandLine &line);
void add_set(CLI::App &app, CommandLine &line);
void add_status(CLI::App &app, CommandLine &line);
void add_svp(CLI::App &app, CommandLine &line);
void add_top(CLI::App &app, CommandLine &line);
void add_trigger(CLI::App &app, CommandLine &line);
void add_unload(CLI::App &app, CommandLine &line);
void add_watch(CLI::App &app, CommandLine &line);

} // namespace zemctl
