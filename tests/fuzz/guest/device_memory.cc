// SPDX-License-Identifier: GPL-2.0
/*
 * Calls that create, change and use mappings of /dev/zem_shared. A session reserves the address
 * range of a mapping until the session ends: a hole that a call leaves is filled with inaccessible
 * memory, so that the process maps nothing else there.
 */
#include "device_session.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <csignal>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/zem.h>

namespace fuzz {

namespace {

constexpr std::size_t kSizes[] = {0,
				  1,
				  4095,
				  4096,
				  4097,
				  8191,
				  8192,
				  8192,
				  8192,
				  8193,
				  12'288,
				  65'536,
				  1 << 21,
				  std::size_t{1} << 40,
				  std::size_t{1} << 47,
				  SIZE_MAX - 4095,
				  SIZE_MAX};
constexpr off_t kOffsets[] = {0,    0, 0, 1, 4096, 8192, 1 << 20, off_t{1} << 40, INT64_MAX & ~4095,
			      -4096};
constexpr int kMapFlags[] = {MAP_SHARED,
			     MAP_SHARED,
			     MAP_PRIVATE,
			     MAP_SHARED_VALIDATE,
			     MAP_SHARED | MAP_POPULATE,
			     MAP_PRIVATE | MAP_POPULATE,
			     MAP_SHARED | MAP_LOCKED,
			     MAP_SHARED | MAP_NORESERVE,
			     MAP_SHARED | MAP_HUGETLB,
			     MAP_SHARED_VALIDATE | MAP_SYNC,
			     MAP_PRIVATE | MAP_GROWSDOWN};
/* Excludes 100 and 101, with which root takes good memory away from the machine. */
constexpr int kAdviceMax = 26;
/* Larger than any mapping of the device, because mremap may enlarge inaccessible memory. */
constexpr std::size_t kLargest = 1 << 20;

sigjmp_buf no_memory;

void on_fault(int)
{
	siglongjmp(no_memory, 1);
}

/* Return: 0, or -1 (EFAULT) if the memory is inaccessible. */
template <typename Access>
long touch(Access access)
{
	if (sigsetjmp(no_memory, 1)) {
		errno = EFAULT;
		return -1;
	}
	access();
	return 0;
}

std::size_t whole_pages(std::size_t size)
{
	constexpr std::size_t kPage = 4096;
	return (size + kPage - 1) & ~(kPage - 1);
}

void fill_hole(char *begin, std::size_t size)
{
	if (::mmap(begin, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE,
		   -1, 0) == MAP_FAILED)
		give_up("mmap");
}

} // namespace

void DeviceSession::catch_faults()
{
	struct sigaction action = {};
	action.sa_handler = on_fault;
	action.sa_flags = SA_NODEFER;
	for (const int signal : {SIGSEGV, SIGBUS})
		::sigaction(signal, &action, nullptr);
}

DeviceSession::~DeviceSession()
{
	for (const Mapping &mapping : mappings_)
		::munmap(mapping.begin, mapping.size);
	for (const int fd : files_)
		::close(fd);
	for (const pid_t child : children_)
		::waitpid(child, nullptr, 0);
}

Mapping DeviceSession::mapping()
{
	const Mapping nothing = {reinterpret_cast<char *>(kPage), kPage};
	return mappings_.empty() ? nothing : mappings_[random_.below(mappings_.size())];
}

Mapping DeviceSession::part()
{
	const Mapping whole = mapping();
	const std::size_t pages = whole.size / kPage;
	if (pages < 2 || random_.one_in(3))
		return whole;
	const std::size_t first = random_.below(pages);
	return {whole.begin + first * kPage, (1 + random_.below(pages - first)) * kPage};
}

long DeviceSession::keep(void *address, std::size_t size)
{
	if (address == MAP_FAILED)
		return -1;
	size = whole_pages(size);
	if (size > kLargest)
		::munmap(address, size);
	else
		mappings_.push_back({static_cast<char *>(address), size});
	return 0;
}

long DeviceSession::map()
{
	const std::size_t size = random_.one_in(2) ? ZEM_SHARED_SIZE : random_.one_of(kSizes);
	const int protection = static_cast<int>(random_.below(8));
	const int flags = random_.one_of(kMapFlags);
	const off_t offset = random_.one_of(kOffsets);
	if (mappings_.size() >= kMost)
		return unmap();
	return keep(::mmap(nullptr, size, protection, flags, file(), offset), size);
}

/* Replaces a mapping of the session by another mapping of the same memory. */
long DeviceSession::map_over()
{
	const Mapping over = part();
	const int flags = MAP_FIXED | (random_.one_in(2) ? MAP_SHARED : MAP_PRIVATE);
	const int fd = file();
	if (mappings_.empty())
		return 0;
	return ::mmap(over.begin, over.size, PROT_READ, flags, fd, 0) == MAP_FAILED ? -1 : 0;
}

long DeviceSession::unmap()
{
	const Mapping range = part();
	if (mappings_.empty() || random_.one_in(8))
		return ::munmap(range.begin + 1, range.size);
	const long result = ::munmap(range.begin, range.size);
	fill_hole(range.begin, range.size);
	return result;
}

long DeviceSession::protect()
{
	const Mapping range = part();
	return ::mprotect(range.begin, range.size, static_cast<int>(random_.below(8)));
}

long DeviceSession::remap()
{
	constexpr int kFlags[] = {0, MREMAP_MAYMOVE, MREMAP_MAYMOVE,
				  MREMAP_MAYMOVE | MREMAP_DONTUNMAP};
	const Mapping range = part();
	const std::size_t size = random_.one_in(2) ? random_.one_of(kSizes) : range.size;
	const int flags = random_.one_of(kFlags);
	const std::size_t old_size = random_.one_in(8) ? 0 : range.size;
	if (mappings_.empty())
		return 0;
	void *moved = ::mremap(range.begin, old_size, size, flags);
	if (moved == MAP_FAILED)
		return -1;
	const std::size_t now = whole_pages(size);
	if (moved == range.begin && now < range.size)
		fill_hole(range.begin + now, range.size - now);
	else if (moved == range.begin && now > range.size)
		::munmap(range.begin + range.size, now - range.size);
	if (moved == range.begin)
		return 0;
	if (old_size && !(flags & MREMAP_DONTUNMAP))
		fill_hole(range.begin, range.size);
	return keep(moved, size);
}

long DeviceSession::advise()
{
	const Mapping range = part();
	return ::madvise(range.begin, range.size, static_cast<int>(random_.below(kAdviceMax)));
}

long DeviceSession::read_memory()
{
	const Mapping range = part();
	return touch([&] {
		for (std::size_t i = 0; i < range.size; i += 64)
			static_cast<void>(*static_cast<const volatile char *>(range.begin + i));
	});
}

/* Root may write: the module must tolerate any content of the buffer. */
long DeviceSession::write_memory()
{
	const Mapping range = part();
	const std::size_t at = random_.below(range.size);
	const char byte = static_cast<char>(random_.next());
	return touch([&] { *static_cast<volatile char *>(range.begin + at) = byte; });
}

long DeviceSession::write_from_memory()
{
	const Mapping range = part();
	int ends[2];
	if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK))
		give_up("pipe2");
	const iovec piece = {range.begin, range.size};
	const long result = random_.one_in(2) ? ::write(ends[1], range.begin, range.size) :
						::vmsplice(ends[1], &piece, 1, 0);
	::close(ends[0]);
	::close(ends[1]);
	return result;
}

long DeviceSession::read_into_memory()
{
	const Mapping range = part();
	const std::size_t size = random_.below(range.size + 1);
	const int zeros = ::open("/dev/zero", O_RDONLY | O_CLOEXEC);
	/* The range of a removed mapping may belong to other code, so @range is checked. */
	const long result = mappings_.empty() ? 0 : ::read(zeros, range.begin, size);
	::close(zeros);
	return result;
}

long DeviceSession::copy_by_process()
{
	const Mapping range = part();
	char bytes[kPage];
	const iovec here = {bytes, sizeof(bytes)};
	const iovec there = {range.begin, range.size};
	return ::process_vm_readv(::getpid(), &here, 1, &there, 1, 0);
}

long DeviceSession::lock()
{
	const Mapping range = part();
	return ::mlock(range.begin, range.size);
}

long DeviceSession::unlock()
{
	const Mapping range = part();
	return ::munlock(range.begin, range.size);
}

long DeviceSession::sync()
{
	const Mapping range = part();
	return ::msync(range.begin, range.size, static_cast<int>(random_.below(8)));
}

long DeviceSession::in_core()
{
	const Mapping range = part();
	std::vector<unsigned char> pages(range.size / kPage + 1);
	return ::mincore(range.begin, range.size, pages.data());
}

/* The child may keep the mappings longer than the parent. */
long DeviceSession::fork()
{
	const Mapping range = part();
	const auto rest = static_cast<useconds_t>(random_.below(20'000));
	if (children_.size() >= kMost)
		return 0;
	const pid_t child = ::fork();
	if (child == 0) {
		touch([&] { static_cast<void>(*static_cast<volatile char *>(range.begin)); });
		::usleep(rest);
		touch([&] { *static_cast<volatile char *>(range.begin) = 1; });
		::_exit(0);
	}
	if (child > 0)
		children_.push_back(child);
	return child;
}

/* Walks the page tables of the mappings. */
long DeviceSession::show_maps()
{
	char text[kPage];
	const int fd = ::open("/proc/self/smaps", O_RDONLY | O_CLOEXEC);
	long got;
	while ((got = ::read(fd, text, sizeof(text))) > 0) {
	}
	::close(fd);
	return got;
}

} // namespace fuzz
