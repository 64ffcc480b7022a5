/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The command line: from arguments to the call of one command.
 */
#pragma once

namespace zemctl {

/* Parses, runs the command, reports what it throws. Returns the exit status. */
int run_command_line(int argc, const char *const *argv);

} // namespace zemctl
