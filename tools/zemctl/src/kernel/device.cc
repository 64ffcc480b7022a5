// SPDX-License-Identifier: GPL-2.0
/*
 * The real kernel side of a session.
 */
#include "kernel/device.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "base/open_file.h"

namespace zemctl {

ZemDevice::ZemDevice(std::string trace_path, const std::string &device_path, const StopSignal &stop)
	: trace_path_(std::move(trace_path)), trace_(open_file(trace_path_)), stop_fd_(stop.fd())
{
	const FileDescriptor device = open_file(device_path);
	void *mapping = ::mmap(nullptr, ZEM_SHARED_SIZE, PROT_READ, MAP_SHARED, device.get(), 0);
	if (mapping == MAP_FAILED)
		throw system_failure(device_path, errno);
	mapping_ = mapping;
}

ZemDevice::~ZemDevice()
{
	::munmap(const_cast<void *>(mapping_), ZEM_SHARED_SIZE);
}

Wake ZemDevice::wait(std::chrono::nanoseconds time)
{
	std::array<pollfd, 3> set = {{{trace_.get(), POLLPRI | POLLERR, 0},
				      {stop_fd_, POLLIN, 0},
				      /* no events: a pipe always reports that its reader is gone */
				      {output_fd_, 0, 0}}};
	const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
	const timespec timeout = {static_cast<time_t>(seconds.count()),
				  static_cast<long>((time - seconds).count())};
	if (::ppoll(set.data(), set.size(), &timeout, nullptr) < 0 && errno != EINTR)
		throw system_failure(trace_path_, errno);

	if (set[1].revents != 0)
		return Wake::kStopped;
	if ((set[2].revents & POLLERR) != 0)
		throw BrokenPipe{};
	return (set[0].revents & (POLLPRI | POLLERR)) != 0 ? Wake::kNotified : Wake::kQuiet;
}

bool ZemDevice::is_notified()
{
	pollfd trace = {trace_.get(), POLLPRI | POLLERR, 0};
	return ::poll(&trace, 1, 0) > 0;
}

void ZemDevice::pause(std::chrono::nanoseconds time)
{
	std::this_thread::sleep_for(time);
}

/*
 * The kernel may write while this function reads. The acquire fence orders the copy before its use
 * and before the hand-back, which is a system call, and keeps the compiler from reading the buffer
 * again instead of the copy.
 */
void ZemDevice::copy_buffer(Snapshot &look) const
{
	std::memcpy(look.bytes.data(), mapping_, sizeof(look.bytes));
	std::atomic_thread_fence(std::memory_order_acquire);
}

/*
 * One read at the start of the file is one hand-back: sysfs calls the module once for it. A read at
 * another offset would call the module as well, and return nothing.
 */
std::uint32_t ZemDevice::hand_back()
{
	std::array<std::byte, 16> answer;
	const ssize_t size = ::pread(trace_.get(), answer.data(), answer.size(), 0);
	if (size < 0)
		throw system_failure(trace_path_, errno);
	if (size == 0)
		return 0;

	std::uint32_t bytes;
	if (size != sizeof(bytes))
		throw Failure(
			fmt::format("{}: returned {} bytes instead of 4 or 0", trace_path_, size));
	std::memcpy(&bytes, answer.data(), sizeof(bytes));
	return bytes;
}

} // namespace zemctl
