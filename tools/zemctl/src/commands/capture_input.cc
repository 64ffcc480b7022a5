// SPDX-License-Identifier: GPL-2.0
/*
 * The capture that a command reads.
 */
#include "commands/capture_input.h"

#include <unistd.h>

#include "base/open_file.h"
#include "commands/options.h"

namespace zemctl {

void add_capture_options(CLI::App &command, std::string &file, bool &strict)
{
	command.add_option("FILE", file, "The file; - for standard input")->required();
	command.add_flag("--strict", strict,
			 "Exit with status 1 if anything is missing in the capture");
}

CaptureInput::CaptureInput(const std::string &file)
	: name_(file == "-" ? "standard input" : file),
	  file_(file == "-" ? FileDescriptor() : open_file(file)),
	  reader_(file_.is_open() ? file_.get() : STDIN_FILENO, name_)
{
}

} // namespace zemctl
