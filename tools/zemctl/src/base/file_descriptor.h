/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Owns a file descriptor and closes it at the end of its life.
 */
#pragma once

#include <utility>

#include <unistd.h>

namespace zemctl {

class FileDescriptor {
public:
	FileDescriptor() = default;
	explicit FileDescriptor(int fd) : fd_(fd) {}
	FileDescriptor(FileDescriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
	FileDescriptor &operator=(FileDescriptor &&other) noexcept
	{
		std::swap(fd_, other.fd_);
		return *this;
	}
	FileDescriptor(const FileDescriptor &) = delete;
	FileDescriptor &operator=(const FileDescriptor &) = delete;
	~FileDescriptor()
	{
		if (fd_ >= 0)
			::close(fd_);
	}

	int get() const { return fd_; }
	bool is_open() const { return fd_ >= 0; }
	/* For a caller that checks the result of close(). */
	[[nodiscard]] int release() { return std::exchange(fd_, -1); }

private:
	int fd_ = -1;
};

} // namespace zemctl
