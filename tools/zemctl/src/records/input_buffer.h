/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads a file from start to end, and keeps the bytes that were read but not consumed.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/bytes.h"

namespace zemctl {

class InputBuffer {
public:
	/* Does not own @fd. @name is used in messages. */
	InputBuffer(int fd, std::string name) : fd_(fd), name_(std::move(name)) {}

	/*
	 * Reads until @size bytes are pending, which invalidates views of them. Return: false if
	 * the file ends before.
	 */
	bool have(std::size_t size);
	Bytes pending() const { return Bytes(buffer_).subspan(begin_, end_ - begin_); }
	void consume(std::size_t size);

	/* The offset in the file of the first byte that is pending. */
	std::uint64_t position() const { return position_; }
	const std::string &name() const { return name_; }

private:
	int fd_;
	std::string name_;
	std::vector<std::byte> buffer_;
	std::size_t begin_ = 0;
	std::size_t end_ = 0;
	std::uint64_t position_ = 0;
};

} // namespace zemctl
