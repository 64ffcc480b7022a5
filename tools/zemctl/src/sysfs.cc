// SPDX-License-Identifier: GPL-2.0
/*
 * The control node, /sys/zem.
 */
#include "sysfs.h"

#include <array>
#include <cerrno>
#include <charconv>

#include <fcntl.h>
#include <sys/stat.h>

#include <fmt/format.h>

#include "errors.h"
#include "file_descriptor.h"

namespace zemctl {

ControlNode::ControlNode(std::string directory) : directory_(std::move(directory))
{
	struct stat status;
	if (::stat(directory_.c_str(), &status) == 0)
		return;
	if (errno == ENOENT)
		throw Failure(
			fmt::format("{}: not there: the zem module is not loaded", directory_));
	throw system_failure(directory_, errno);
}

std::string ControlNode::path(std::string_view name) const
{
	return fmt::format("{}/{}", directory_, name);
}

int ControlNode::read_number(std::string_view name) const
{
	const std::string file = path(name);
	const FileDescriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
	std::array<char, 64> text;
	const ssize_t size = fd.is_open() ? ::read(fd.get(), text.data(), text.size()) : -1;
	if (size < 0)
		throw system_failure(file, errno);

	const char *end = text.data() + size;
	if (size > 0 && end[-1] == '\n')
		end--;
	int value = 0;
	const auto parsed = std::from_chars(text.data(), end, value);
	if (parsed.ec != std::errc() || parsed.ptr != end)
		throw Failure(fmt::format("{}: does not hold a number", file));
	return value;
}

void ControlNode::write_number(std::string_view name, int value) const
{
	write(name, fmt::format("{}\n", value));
}

void ControlNode::write(std::string_view name, std::string_view bytes) const
{
	const std::string file = path(name);
	const FileDescriptor fd(::open(file.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
	const ssize_t written = fd.is_open() ? ::write(fd.get(), bytes.data(), bytes.size()) : -1;
	if (written < 0)
		throw system_failure(file, errno);
	if (static_cast<std::size_t>(written) != bytes.size())
		throw Failure(fmt::format("{}: took {} of {} bytes", file, written, bytes.size()));
}

} // namespace zemctl
