// SPDX-License-Identifier: GPL-2.0
/* Functions for several commands: files, names of errors, clocks. */
#include "system.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <linux/zem.h>

void give_up(const char *what)
{
	std::fprintf(stderr, "zemtest: %s: %s\n", what, std::strerror(errno));
	std::exit(2);
}

std::string error_name(int error)
{
	const char *name = ::strerrorname_np(error);
	return name ? name : std::to_string(error);
}

long long number(const char *text)
{
	char *end;
	errno = 0;
	const long long value = std::strtoll(text, &end, 0);
	if (end == text || *end || errno) {
		std::fprintf(stderr, "zemtest: not a number: %s\n", text);
		std::exit(2);
	}
	return value;
}

std::uint64_t wall_clock_ns()
{
	timespec now;
	::clock_gettime(CLOCK_REALTIME, &now);
	return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 +
	       static_cast<std::uint64_t>(now.tv_nsec);
}

std::int64_t monotonic_ms()
{
	timespec now;
	::clock_gettime(CLOCK_MONOTONIC, &now);
	return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

void sleep_ms(int duration)
{
	::usleep(static_cast<useconds_t>(duration) * 1000);
}

File::File(const char *path, int flags) : fd_(::open(path, flags | O_CLOEXEC))
{
}

File::~File()
{
	if (fd_ >= 0)
		::close(fd_);
}

const unsigned char *map_shared_buffer()
{
	const File device(ZEM_SHARED_DEVICE, O_RDONLY);
	if (device.fd() < 0)
		give_up(ZEM_SHARED_DEVICE);
	void *address = ::mmap(nullptr, ZEM_SHARED_SIZE, PROT_READ, MAP_SHARED, device.fd(), 0);
	if (address == MAP_FAILED)
		give_up("mmap of " ZEM_SHARED_DEVICE);
	return static_cast<const unsigned char *>(address);
}

std::uint32_t hand_back(int fd)
{
	unsigned char bytes[8];
	const ssize_t got = ::pread(fd, bytes, sizeof(bytes), 0);
	if (got == 0)
		return 0;
	std::uint32_t count;
	if (got != sizeof(count)) {
		std::fprintf(stderr, "zemtest: a hand-back of %zd bytes\n", got);
		std::exit(2);
	}
	std::memcpy(&count, bytes, sizeof(count));
	return count;
}
