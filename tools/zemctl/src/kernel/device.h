/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The real kernel side of a session: the shared buffer that /dev/zem_shared maps, and
 * /sys/zem/trace, which notifies and takes the buffer back.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "base/file_descriptor.h"
#include "base/stop_signal.h"
#include "kernel/reader.h"
#include "kernel/session.h"

namespace zemctl {

class ZemDevice {
public:
	ZemDevice(std::string trace_path, const std::string &device_path, const StopSignal &stop);
	~ZemDevice();
	ZemDevice(const ZemDevice &) = delete;
	ZemDevice &operator=(const ZemDevice &) = delete;

	/* Makes wait() throw BrokenPipe if @output_fd, the output of the records, loses its reader.
	 */
	void end_with(int output_fd) { output_fd_ = output_fd; }

	Clock::time_point now() const { return Clock::now(); }
	Wake wait(std::chrono::nanoseconds time);
	bool is_notified();
	void pause(std::chrono::nanoseconds time);
	void copy_buffer(Snapshot &look) const;
	std::uint32_t hand_back();

private:
	std::string trace_path_;
	FileDescriptor trace_;
	const void *mapping_ = nullptr;
	int stop_fd_;
	int output_fd_ = -1;
};

static_assert(KernelSide<ZemDevice>);

} // namespace zemctl
