// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl: control, read and record the telemetry hub.
 */
#include <csignal>

#include "cli.h"

int main(int argc, char **argv)
{
	/* A write to a pipe without a reader must fail with EPIPE, not raise a signal. */
	std::signal(SIGPIPE, SIG_IGN);
	/* With a limit of the file size, EFBIG. */
	std::signal(SIGXFSZ, SIG_IGN);
	return zemctl::run_command_line(argc, argv);
}
