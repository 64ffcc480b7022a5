/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The capture that a command reads, and the options of all such commands.
 */
#pragma once

#include <string>

#include "base/file_descriptor.h"
#include "records/capture_reader.h"

namespace CLI {
class App;
}

namespace zemctl {

/* Adds the argument FILE, and --strict. */
void add_capture_options(CLI::App &command, std::string &file, bool &strict);

class CaptureInput {
public:
	/* @file is "-" for standard input. Throws a Failure if it is no capture. */
	explicit CaptureInput(const std::string &file);

	/* For messages. */
	const std::string &name() const { return name_; }
	CaptureReader &reader() { return reader_; }

private:
	std::string name_;
	FileDescriptor file_;
	CaptureReader reader_;
};

} // namespace zemctl
