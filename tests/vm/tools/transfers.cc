// SPDX-License-Identifier: GPL-2.0
/* Reads and writes in each of the ways that the kernel has a system call for. */
#include "commands.h"

#include <csignal>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

#include "system.h"

namespace {

constexpr int kWays = 5;

ssize_t write_in_way(int way, int fd, const iovec &part, int flags)
{
	switch (way) {
	case 0:
		return ::write(fd, part.iov_base, part.iov_len);
	case 1:
		return ::writev(fd, &part, 1);
	case 2:
		return ::pwrite(fd, part.iov_base, part.iov_len, 0);
	case 3:
		return ::pwritev(fd, &part, 1, 0);
	default:
		return ::pwritev2(fd, &part, 1, 0, flags);
	}
}

ssize_t read_in_way(int way, int fd, const iovec &part)
{
	switch (way) {
	case 0:
		return ::read(fd, part.iov_base, part.iov_len);
	case 1:
		return ::readv(fd, &part, 1);
	case 2:
		return ::pread(fd, part.iov_base, part.iov_len, 0);
	case 3:
		return ::preadv(fd, &part, 1, 0);
	default:
		return ::preadv2(fd, &part, 1, 0, 0);
	}
}

} // namespace

int run_transfers(Arguments arguments)
{
	const char *kind = arguments.size() > 2 ? arguments[2] : "";
	const int open_flags = std::strcmp(kind, "dsync") == 0 ? O_DSYNC :
			       std::strcmp(kind, "sync") == 0  ? O_SYNC :
								 0;
	const int call_flags = std::strcmp(kind, "rwf-dsync") == 0 ? RWF_DSYNC :
			       std::strcmp(kind, "rwf-sync") == 0  ? RWF_SYNC :
								     0;
	const File file(arguments[0], O_RDWR | open_flags);
	if (file.fd() < 0)
		give_up(arguments[0]);
	std::vector<char> bytes(static_cast<std::size_t>(number(arguments[1])));
	const iovec part = {bytes.data(), bytes.size()};

	::raise(SIGSTOP);
	for (int way = 0; way < kWays; way++)
		if (write_in_way(way, file.fd(), part, call_flags) < 0)
			give_up(arguments[0]);
	::lseek(file.fd(), 0, SEEK_SET);
	for (int way = 0; way < kWays; way++) {
		if (read_in_way(way, file.fd(), part) < 0)
			give_up(arguments[0]);
		/* What fails has transferred nothing. */
		if (read_in_way(way, -1, part) >= 0 || write_in_way(way, -1, part, 0) >= 0)
			give_up("a file that is not open");
	}
	::raise(SIGSTOP);
	return 0;
}
