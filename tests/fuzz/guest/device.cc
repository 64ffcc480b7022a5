// SPDX-License-Identifier: GPL-2.0
/* The table of the calls on /dev/zem_shared, and the calls that use a descriptor. */
#include "device.h"

#include <csignal>
#include <iterator>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <linux/zem.h>

#include "device_session.h"
#include "workers.h"

namespace fuzz {

namespace {

constexpr std::size_t kReadMax = 4096;
constexpr off_t kOffsets[] = {0,    0, 0, 1, 4096, 8192, 1 << 20, off_t{1} << 40, INT64_MAX & ~4095,
			      -4096};
constexpr int kOpenFlags[] = {O_RDONLY,
			      O_RDWR,
			      O_RDWR,
			      O_WRONLY,
			      O_RDWR | O_NONBLOCK,
			      O_RDWR | O_TRUNC,
			      O_RDONLY | O_DIRECT,
			      O_PATH,
			      O_RDWR | O_APPEND | O_SYNC};

} // namespace

constinit const DeviceSession::Call DeviceSession::kCalls[] = {
	{"open", &DeviceSession::open},
	{"close", &DeviceSession::close},
	{"mmap", &DeviceSession::map},
	{"mmap over a mapping", &DeviceSession::map_over},
	{"munmap", &DeviceSession::unmap},
	{"mprotect", &DeviceSession::protect},
	{"mremap", &DeviceSession::remap},
	{"madvise", &DeviceSession::advise},
	{"load from the mapping", &DeviceSession::read_memory},
	{"store to the mapping", &DeviceSession::write_memory},
	{"write from the mapping", &DeviceSession::write_from_memory},
	{"read into the mapping", &DeviceSession::read_into_memory},
	{"process_vm_readv", &DeviceSession::copy_by_process},
	{"mlock", &DeviceSession::lock},
	{"munlock", &DeviceSession::unlock},
	{"msync", &DeviceSession::sync},
	{"mincore", &DeviceSession::in_core},
	{"fork", &DeviceSession::fork},
	{"ioctl", &DeviceSession::control},
	{"read", &DeviceSession::read},
	{"write", &DeviceSession::write},
	{"poll", &DeviceSession::poll},
	{"lseek", &DeviceSession::seek},
	{"ftruncate, fallocate", &DeviceSession::truncate},
	{"fcntl", &DeviceSession::flags},
	{"flock", &DeviceSession::file_lock},
	{"sendfile, splice", &DeviceSession::send},
	{"/proc/self/smaps", &DeviceSession::show_maps},
};

constexpr std::size_t kCallCount = std::size(DeviceSession::kCalls);
static_assert(kCallCount < kDeviceCallsMax);

/* Mostly opens and maps at the beginning; calls without a file or a mapping are valid too. */
void DeviceSession::run()
{
	for (std::size_t count = 8 + random_.below(48); count > 0; count--) {
		if (ledger_.stopping || (ledger_.unloading && random_.one_in(4)))
			break;
		std::size_t call = random_.below(kCallCount);
		if (files_.empty() && random_.one_in(2))
			call = 0;
		else if (mappings_.empty() && random_.one_in(2))
			call = 2;
		ledger_.device[call].add((this->*kCalls[call].make)());
	}
}

long DeviceSession::open()
{
	const int flags = random_.one_of(kOpenFlags);
	if (files_.size() >= kMost)
		return close();
	const int fd = ::open(ZEM_SHARED_DEVICE, flags | O_CLOEXEC);
	if (fd >= 0)
		files_.push_back(fd);
	return fd;
}

long DeviceSession::close()
{
	if (files_.empty())
		return ::close(-1);
	const std::size_t index = random_.below(files_.size());
	const int fd = files_[index];
	files_.erase(files_.begin() + static_cast<std::ptrdiff_t>(index));
	return ::close(fd);
}

/* Numbers of generic ioctls, and random numbers. */
long DeviceSession::control()
{
	constexpr unsigned long kNumbers[] = {FIONREAD, FIOASYNC, FIONBIO, FIOCLEX, _IO('z', 0)};
	char bytes[256] = {};
	const unsigned long number = random_.one_in(3) ? random_.next() : random_.one_of(kNumbers);
	return ::ioctl(file(), number, random_.one_in(4) ? nullptr : bytes);
}

long DeviceSession::read()
{
	char bytes[kReadMax];
	const std::size_t size = random_.below(sizeof(bytes) + 1);
	return random_.one_in(2) ? ::read(file(), bytes, size) : ::pread(file(), bytes, size, 1);
}

long DeviceSession::write()
{
	char bytes[kReadMax] = {};
	const std::size_t size = random_.below(sizeof(bytes) + 1);
	return random_.one_in(2) ? ::write(file(), bytes, size) : ::pwrite(file(), bytes, size, 1);
}

long DeviceSession::poll()
{
	pollfd waiting = {file(), static_cast<short>(random_.next()), 0};
	return ::poll(&waiting, 1, static_cast<int>(random_.below(5)));
}

long DeviceSession::seek()
{
	return ::lseek(file(), random_.one_of(kOffsets), static_cast<int>(random_.below(6)));
}

long DeviceSession::truncate()
{
	const off_t size = random_.one_of(kOffsets);
	return random_.one_in(2) ? ::ftruncate(file(), size) :
				   ::fallocate(file(), static_cast<int>(random_.below(4)), 0, size);
}

long DeviceSession::flags()
{
	constexpr int kFlags[] = {O_NONBLOCK, O_ASYNC, O_DIRECT, O_APPEND, 0};
	return ::fcntl(file(), F_SETFL, random_.one_of(kFlags));
}

long DeviceSession::file_lock()
{
	constexpr int kLocks[] = {LOCK_SH, LOCK_EX, LOCK_UN};
	return ::flock(file(), random_.one_of(kLocks) | LOCK_NB);
}

long DeviceSession::send()
{
	int ends[2];
	if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK))
		give_up("pipe2");
	const long result = random_.one_in(2) ? ::sendfile(ends[1], file(), nullptr, kReadMax) :
						::splice(file(), nullptr, ends[1], nullptr,
							 kReadMax, SPLICE_F_NONBLOCK);
	::close(ends[0]);
	::close(ends[1]);
	return result;
}

const char *device_call_name(std::size_t index)
{
	return index < kCallCount ? DeviceSession::kCalls[index].name : nullptr;
}

void work_on_device(const Worker &worker)
{
	DeviceSession::catch_faults();
	for (const int signal : {SIGPIPE, SIGIO})
		::signal(signal, SIG_IGN);
	for (std::uint64_t session = 0; !worker.ledger.stopping; session++) {
		DeviceSession(worker.ledger, Random(worker.seed, worker.number, session)).run();
		/* The unloader needs some time without open files. */
		::usleep(worker.ledger.unloading ? 20'000 : 2000);
	}
}

} // namespace fuzz
