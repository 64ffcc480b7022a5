// SPDX-License-Identifier: GPL-2.0
/* Commands on /dev/zem_shared (mapping.cc has those on its mappings), and on the notification. */
#include "commands.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/zem.h>

#include "system.h"

int run_map(Arguments arguments)
{
	const auto size = static_cast<std::size_t>(number(arguments[0]));
	const off_t offset = arguments.size() > 1 ? number(arguments[1]) : 0;
	const File device(ZEM_SHARED_DEVICE, O_RDONLY);
	if (device.fd() < 0)
		give_up(ZEM_SHARED_DEVICE);
	void *address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, device.fd(), offset);
	if (address == MAP_FAILED) {
		std::printf("%s\n", error_name(errno).c_str());
		return 0;
	}
	const auto *bytes = static_cast<const volatile unsigned char *>(address);
	unsigned int in_use = 0;
	/* Every page of the mapping must be readable. */
	for (std::size_t i = 0; i < size; i++)
		in_use += bytes[i] != 0;
	std::printf("mapped, %u bytes not 0:", in_use);
	for (std::size_t i = 0; i < ZEM_HEADER_SIZE; i++)
		std::printf(" %02x", bytes[i]);
	std::printf("\n");
	return 0;
}

int run_refusals(Arguments)
{
	const File device(ZEM_SHARED_DEVICE, O_RDWR);
	if (device.fd() < 0)
		give_up(ZEM_SHARED_DEVICE);
	const auto report = [](const char *what, long result) {
		std::printf("%s: %s\n", what, result < 0 ? error_name(errno).c_str() : "done");
	};
	char byte = 0;
	report("read", ::read(device.fd(), &byte, 1));
	report("write", ::write(device.fd(), &byte, 1));
	report("ioctl", ::ioctl(device.fd(), _IO('z', 0), &byte));
	return 0;
}

namespace {

pid_t start(const char *command)
{
	const pid_t child = ::fork();
	if (child < 0)
		give_up("fork");
	if (child == 0) {
		::execl("/bin/sh", "sh", "-c", command, nullptr);
		::_exit(127);
	}
	return child;
}

} // namespace

/* The read that arms the notification empties the buffer, so COMMAND has to fill it. */
int run_notified(Arguments arguments)
{
	const File trace(kTraceFile, O_RDONLY);
	if (trace.fd() < 0)
		give_up(kTraceFile);
	hand_back(trace.fd());

	const pid_t child = start(arguments[1]);
	pollfd waiting = {trace.fd(), POLLPRI, 0};
	const int ready = ::poll(&waiting, 1, static_cast<int>(number(arguments[0])));
	if (ready < 0)
		give_up("poll");
	const bool has_priority = waiting.revents & POLLPRI;
	std::printf("%s\n", !ready ? "quiet" : has_priority ? "notified" : "woken for nothing");

	int status;
	::waitpid(child, &status, 0);
	return WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}
