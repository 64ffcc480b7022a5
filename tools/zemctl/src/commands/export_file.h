/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The output of a command that writes one file, which may be standard output.
 */
#pragma once

#include <string>

#include <unistd.h>

#include "base/open_file.h"
#include "text/output.h"

namespace zemctl {

/* Creates the file, or empties it. "-" stands for standard output. */
class ExportFile {
public:
	explicit ExportFile(const std::string &path)
		: file_(opened(path)), output_(fd(), name(path))
	{
	}

	Output &output() { return output_; }

private:
	static FileDescriptor opened(const std::string &path)
	{
		return path == "-" ? FileDescriptor() : open_file(path, kCreateFlags, 0666);
	}
	static std::string name(const std::string &path)
	{
		return path == "-" ? "standard output" : path;
	}
	int fd() const { return file_.is_open() ? file_.get() : STDOUT_FILENO; }

	FileDescriptor file_;
	Output output_;
};

} // namespace zemctl
