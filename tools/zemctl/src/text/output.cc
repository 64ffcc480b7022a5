// SPDX-License-Identifier: GPL-2.0
/*
 * Writes buffered output to a descriptor.
 */
#include "text/output.h"

#include <cerrno>

#include <unistd.h>

#include "base/errors.h"

namespace zemctl {

namespace {
constexpr std::size_t kFlushLevel = std::size_t{64} * 1024;
}

void Output::append(std::string_view text)
{
	pending_ += text;
	if (pending_.size() >= kFlushLevel)
		flush();
}

void Output::flush()
{
	write_all(pending_);
	pending_.clear();
}

void Output::write(Bytes bytes)
{
	flush();
	write_all(std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
}

void Output::write_all(std::string_view rest)
{
	while (!rest.empty()) {
		const ssize_t written = ::write(fd_, rest.data(), rest.size());
		if (written < 0) {
			if (errno == EINTR)
				continue;
			if (errno == EPIPE)
				throw BrokenPipe{};
			throw system_failure(name_, errno);
		}
		rest.remove_prefix(static_cast<std::size_t>(written));
	}
}

bool Output::is_terminal() const
{
	return ::isatty(fd_) == 1;
}

void write_to_stdout(std::string_view text)
{
	Output output(STDOUT_FILENO, "standard output");
	output.append(text);
	output.flush();
}

} // namespace zemctl
