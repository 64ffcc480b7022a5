/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The output of a command that writes one file, which may be standard output.
 */
#pragma once

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "base/errors.h"
#include "base/file_descriptor.h"
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
		constexpr mode_t kMode = 0666;
		if (path == "-")
			return {};
		FileDescriptor file(
			::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode));
		if (!file.is_open())
			throw system_failure(path, errno);
		return file;
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
