// SPDX-License-Identifier: GPL-2.0
/* Commands on mappings of the shared buffer: operations on a mapping, and holding one. */
#include "commands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <linux/zem.h>

#include "system.h"

namespace {

constexpr std::size_t kPage = 4096;
/* In the second page, after the records of the tests. */
constexpr std::size_t kSpot = 8000;

void *map(int fd, int protection, int kind, std::size_t size = ZEM_SHARED_SIZE)
{
	return ::mmap(nullptr, size, protection, kind, fd, 0);
}

unsigned char *map_or_give_up(int fd, int protection, int kind)
{
	void *address = map(fd, protection, kind);
	if (address == MAP_FAILED)
		give_up("mmap of " ZEM_SHARED_DEVICE);
	return static_cast<unsigned char *>(address);
}

void report(const char *what, bool is_done)
{
	std::printf("%s: %s\n", what, is_done ? "done" : error_name(errno).c_str());
}

void report_seen(const char *what, bool is_seen)
{
	std::printf("%s: %s\n", what, is_seen ? "seen" : "not seen");
}

/* Reads a byte that the kernel may change, each time. */
unsigned char byte_at(const unsigned char *mapping, std::size_t spot)
{
	return static_cast<const volatile unsigned char *>(mapping)[spot];
}

void try_protections(int reading)
{
	report("writable, of a file open for reading",
	       map(reading, PROT_READ | PROT_WRITE, MAP_SHARED) != MAP_FAILED);
	unsigned char *mapping = map_or_give_up(reading, PROT_READ, MAP_SHARED);
	report("made writable later",
	       !::mprotect(mapping, ZEM_SHARED_SIZE, PROT_READ | PROT_WRITE));
	::munmap(mapping, ZEM_SHARED_SIZE);
}

void try_writes(int writing, int reading)
{
	unsigned char *shared = map_or_give_up(writing, PROT_READ | PROT_WRITE, MAP_SHARED);
	const unsigned char *other = map_or_give_up(reading, PROT_READ, MAP_SHARED);
	unsigned char *own = map_or_give_up(reading, PROT_READ | PROT_WRITE, MAP_PRIVATE);

	shared[kSpot] = 1;
	report_seen("a shared write", byte_at(other, kSpot) == 1);
	report_seen("a shared write, in a private mapping", byte_at(own, kSpot) == 1);
	own[kSpot] = 2;
	report_seen("a private write, by itself", byte_at(own, kSpot) == 2);
	report_seen("a private write, by others", byte_at(other, kSpot) == 2);
	shared[kSpot] = 3;
	report_seen("a shared write, in a page that was written privately",
		    byte_at(own, kSpot) == 3);
}

void try_mremap(int reading)
{
	unsigned char *mapping = map_or_give_up(reading, PROT_READ, MAP_SHARED);
	const auto grow = [&](std::size_t from, std::size_t to) {
		return ::mremap(mapping, from, to, MREMAP_MAYMOVE) != MAP_FAILED;
	};
	report("a third page", grow(ZEM_SHARED_SIZE, ZEM_SHARED_SIZE + kPage));
	report("a second mapping, by an old size of 0", grow(0, ZEM_SHARED_SIZE));

	void *place =
		::mmap(nullptr, ZEM_SHARED_SIZE, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
	void *moved = ::mremap(mapping, ZEM_SHARED_SIZE, ZEM_SHARED_SIZE,
			       MREMAP_MAYMOVE | MREMAP_FIXED, place);
	report("to another address", moved != MAP_FAILED);
	const auto *there = static_cast<const unsigned char *>(moved);
	report_seen("and the bytes, there", byte_at(there, kSpot) == 3);
	report("one page less", ::mremap(moved, ZEM_SHARED_SIZE, kPage, 0) == moved);
	report("and the second page again", ::mremap(moved, kPage, ZEM_SHARED_SIZE, 0) == moved);
}

} // namespace

/* Leaves a byte other than 0 at kSpot. */
int run_mappings(Arguments)
{
	const File reading(ZEM_SHARED_DEVICE, O_RDONLY), writing(ZEM_SHARED_DEVICE, O_RDWR);
	if (reading.fd() < 0 || writing.fd() < 0)
		give_up(ZEM_SHARED_DEVICE);
	try_protections(reading.fd());
	try_writes(writing.fd(), reading.fd());
	try_mremap(reading.fd());
	return 0;
}

int run_scribble(Arguments arguments)
{
	const auto from = static_cast<std::size_t>(number(arguments[0]));
	const File device(ZEM_SHARED_DEVICE, O_RDWR);
	if (device.fd() < 0)
		give_up(ZEM_SHARED_DEVICE);
	unsigned char *mapping = map_or_give_up(device.fd(), PROT_READ | PROT_WRITE, MAP_SHARED);
	for (std::size_t spot = from; spot < ZEM_SHARED_SIZE; spot++)
		static_cast<volatile unsigned char *>(mapping)[spot] = 0xff;
	return 0;
}

/* The process that holds the mapping has no open file of the device. */
int run_hold(Arguments arguments)
{
	const char *kind = arguments.empty() ? "whole" : arguments[0];
	auto *mapping = const_cast<unsigned char *>(map_shared_buffer());

	if (!std::strcmp(kind, "second-page") && ::munmap(mapping, kPage))
		give_up("munmap");
	if (!std::strcmp(kind, "child")) {
		const pid_t child = ::fork();
		if (child < 0)
			give_up("fork");
		if (child)
			return 0;
	}
	std::printf("holding %d\n", ::getpid());
	for (;;)
		::pause();
}
