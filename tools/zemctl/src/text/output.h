/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes buffered output to a descriptor: standard output or a capture file. Every failed write
 * throws: BrokenPipe if the output has no reader any more, otherwise a Failure that names the
 * output.
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
	void flush();
	/* Writes what was appended, and then @bytes without a copy. */
	void write(Bytes bytes);

	int fd() const { return fd_; }
	const std::string &name() const { return name_; }
	bool is_terminal() const;

private:
	void write_all(std::string_view rest);

	int fd_;
	std::string name_;
	std::string pending_;
};

/* Writes @text to standard output. */
void write_to_stdout(std::string_view text);

} // namespace zemctl
