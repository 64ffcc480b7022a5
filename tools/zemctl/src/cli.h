/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The command line: parses the arguments and runs one command.
 */
#pragma once

namespace zemctl {

/*
 * Parses @argv, runs the command that it names, and reports its Failure. Return: the exit status.
 */
int run_command_line(int argc, const char *const *argv);

} // namespace zemctl
