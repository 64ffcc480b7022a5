// SPDX-License-Identifier: GPL-2.0
/*
 * Makes sure that one process reads the shared buffer. The lock is advisory and needs no file of
 * its own, so it works where zemctl may write nothing.
 */
#include "kernel/reader_lock.h"

#include <cerrno>
#include <optional>

#include <sys/file.h>
#include <sys/stat.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/open_file.h"
#include "kernel/files.h"
#include "text/words.h"

namespace zemctl {

namespace {

/* A line of the list: "1: FLOCK ADVISORY WRITE 1234 00:16:5678 0 EOF". */
constexpr std::size_t kLockKind = 1;
constexpr std::size_t kLockPid = 4;
constexpr std::size_t kLockFile = 5;

std::optional<std::uint32_t> holder_of(int fd, const std::string &proc)
{
	struct stat status;
	std::string list;
	if (::fstat(fd, &status) != 0)
		return std::nullopt;
	try {
		list = read_whole_file(proc + "/locks");
	} catch (const Failure &) {
		return std::nullopt;
	}
	const std::string inode = fmt::format(":{}", status.st_ino);
	std::string_view rest = list;
	while (!rest.empty()) {
		const auto words = words_of(take_line(rest));
		if (words.size() > kLockFile && words[kLockKind] == "FLOCK" &&
		    words[kLockFile].ends_with(inode))
			return parse_number<std::uint32_t>(words[kLockPid]);
	}
	return std::nullopt;
}

} // namespace

ReaderLock::ReaderLock(const std::string &trace_path, const std::string &proc)
	: file_(open_file(trace_path))
{
	if (::flock(file_.get(), LOCK_EX | LOCK_NB) == 0)
		return;
	if (errno != EWOULDBLOCK)
		throw system_failure(trace_path, errno);
	const auto pid = holder_of(file_.get(), proc);
	throw Failure(fmt::format("{}: {} reads the records already; zemctl serve lets several "
				  "programs read them",
				  trace_path,
				  pid ? fmt::format("process {}", *pid) : "another process"));
}

} // namespace zemctl
