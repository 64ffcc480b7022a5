// SPDX-License-Identifier: GPL-2.0
/*
 * Reads and writes small files of the module below /sys and /proc.
 */
#include "kernel/files.h"

#include <array>
#include <cerrno>
#include <charconv>

#include <fcntl.h>
#include <sys/stat.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/open_file.h"

namespace zemctl {

namespace {
/* The largest file of the module, a list of tasks, is far smaller. */
constexpr std::size_t kFileMax = std::size_t{64} << 20;
constexpr std::size_t kPieceSize = std::size_t{16} << 10;

template <typename Number>
Number read_decimal(const std::string &path)
{
	const std::string text = read_whole_file(path);
	const char *end = text.data() + text.size();
	if (text.ends_with('\n'))
		end--;
	Number value = 0;
	const auto parsed = std::from_chars(text.data(), end, value);
	if (parsed.ec != std::errc() || parsed.ptr != end)
		throw Failure(fmt::format("{}: does not hold a number", path));
	return value;
}

} // namespace

void require_module_file(const std::string &path)
{
	struct stat status;
	if (::stat(path.c_str(), &status) == 0)
		return;
	if (errno == ENOENT)
		throw Failure(fmt::format("{}: not there: the zem module is not loaded", path));
	throw system_failure(path, errno);
}

std::string read_whole_file(const std::string &path)
{
	const FileDescriptor fd = open_file(path);
	std::string text;
	std::array<char, kPieceSize> piece;
	while (true) {
		const ssize_t size = ::read(fd.get(), piece.data(), piece.size());
		if (size < 0 && errno == EINTR)
			continue;
		if (size < 0)
			throw system_failure(path, errno);
		if (size == 0)
			return text;
		text.append(piece.data(), static_cast<std::size_t>(size));
		if (text.size() > kFileMax)
			throw Failure(fmt::format("{}: too long", path));
	}
}

int read_number_file(const std::string &path)
{
	return read_decimal<int>(path);
}

std::uint64_t read_count_file(const std::string &path)
{
	return read_decimal<std::uint64_t>(path);
}

void write_whole_file(const std::string &path, std::string_view bytes)
{
	const FileDescriptor fd(::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
	const ssize_t written = fd.is_open() ? ::write(fd.get(), bytes.data(), bytes.size()) : -1;
	if (written < 0)
		throw system_failure(path, errno);
	if (static_cast<std::size_t>(written) != bytes.size())
		throw Failure(fmt::format("{}: took {} of {} bytes", path, written, bytes.size()));
}

} // namespace zemctl
