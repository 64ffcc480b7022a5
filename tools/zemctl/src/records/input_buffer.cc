// SPDX-License-Identifier: GPL-2.0
/*
 * Reads a file from start to end.
 */
#include "records/input_buffer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "base/errors.h"

namespace zemctl {

namespace {
constexpr std::size_t kReadSize = std::size_t{128} * 1024;
}

bool InputBuffer::have(std::size_t size)
{
	while (end_ - begin_ < size) {
		if (begin_ > 0) {
			std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
			end_ -= begin_;
			begin_ = 0;
		}
		if (buffer_.size() < std::max(size, end_ + kReadSize))
			buffer_.resize(std::max(size, end_ + kReadSize));
		const ssize_t got = ::read(fd_, buffer_.data() + end_, buffer_.size() - end_);
		if (got < 0 && errno != EINTR)
			throw system_failure(name_, errno);
		if (got == 0)
			return false;
		if (got > 0)
			end_ += static_cast<std::size_t>(got);
	}
	return true;
}

void InputBuffer::consume(std::size_t size)
{
	begin_ += size;
	position_ += size;
}

} // namespace zemctl
