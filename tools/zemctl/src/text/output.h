/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Buffered output to a descriptor, standard output or a capture file. Every failed write is
 * reported: as BrokenPipe when the reader is gone, else as a Failure that names the output.
 */
#pragma once

#include <string>
#include <string_view>

#include "base/bytes.h"

namespace zemctl {

class Output {
public:
	/* Does not own @fd. */
	Output(int fd, std::string name) : fd_(fd), name_(std::move(name)) {}
	Output(const Output &) = delete;
	Output &operator=(const Output &) = delete;

	void append(std::string_view text);
	void append(Bytes bytes);
	void flush();

	int fd() const { return fd_; }
	const std::string &name() const { return name_; }
	bool is_terminal() const;

private:
	int fd_;
	std::string name_;
	std::string pending_;
};

} // namespace zemctl
