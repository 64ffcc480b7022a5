// SPDX-License-Identifier: GPL-2.0
/*
 * Reads and writes in pieces, by each of the kernel's system calls, directly from and to the device
 * or through the page cache.
 */
#include "commands.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
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
		/* A call that fails must transfer nothing. */
		if (read_in_way(way, -1, part) >= 0 || write_in_way(way, -1, part, 0) >= 0)
			give_up("a file that is not open");
	}
	::raise(SIGSTOP);
	return 0;
}

namespace {

int open_flags(const char *kind)
{
	const bool direct = std::strstr(kind, "direct") || std::strcmp(kind, "threads") == 0;
	return (direct ? O_DIRECT : 0) | (std::strstr(kind, "dsync") ? O_DSYNC : 0);
}

struct Pieces {
	const char *path;
	bool writes;
	std::size_t size;
	long long count;
	int fd;

	/* Transfers every @step-th piece from @first on, with its own memory. */
	void transfer(long long first, long long step) const
	{
		void *piece = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
				     MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
		if (piece == MAP_FAILED)
			give_up(path);
		for (long long i = first; i < count; i += step) {
			const off_t place = i * static_cast<off_t>(size);
			const ssize_t done = writes ? ::pwrite(fd, piece, size, place) :
						      ::pread(fd, piece, size, place);
			if (done != static_cast<ssize_t>(size))
				give_up(path);
		}
	}
};

/* Two threads alternate, and both stay: the IO of a thread that has exited is not accounted. */
void transfer_by_threads(const Pieces &pieces)
{
	static std::atomic<bool> has_transferred{false};
	std::thread([&] {
		pieces.transfer(1, 2);
		has_transferred = true;
		has_transferred.notify_one();
		for (;;)
			::pause();
	}).detach();
	pieces.transfer(0, 2);
	has_transferred.wait(false);
}

} // namespace

int run_pieces(Arguments arguments)
{
	const bool writes = std::strcmp(arguments[1], "write") == 0;
	const char *kind = arguments.size() > 4 ? arguments[4] : "";
	const File file(arguments[0], (writes ? O_WRONLY : O_RDONLY) | open_flags(kind));
	if (file.fd() < 0)
		give_up(arguments[0]);
	const Pieces pieces{arguments[0], writes, static_cast<std::size_t>(number(arguments[2])),
			    number(arguments[3]), file.fd()};

	::raise(SIGSTOP);
	if (std::strcmp(kind, "threads") == 0)
		transfer_by_threads(pieces);
	else
		pieces.transfer(0, 1);
	if (std::strcmp(kind, "fsync") == 0 && ::fsync(file.fd()))
		give_up(arguments[0]);
	if (std::strcmp(kind, "cut") == 0 && ::ftruncate(file.fd(), 0))
		give_up(arguments[0]);
	::raise(SIGSTOP);
	return 0;
}
