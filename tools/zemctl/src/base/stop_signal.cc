// SPDX-License-Identifier: GPL-2.0
/*
 * Reports SIGINT, SIGTERM and SIGHUP through a descriptor that becomes readable.
 */
#include "base/stop_signal.h"

#include <cerrno>
#include <csignal>
#include <cstdint>

#include <sys/eventfd.h>

#include "base/errors.h"

namespace zemctl {

namespace {

volatile std::sig_atomic_t event_fd = -1;

/* Context: signal handler. Makes only async-signal-safe calls. */
void on_signal(int)
{
	const int saved_errno = errno;
	const std::uint64_t one = 1;
	[[maybe_unused]] const ssize_t written = ::write(event_fd, &one, sizeof(one));
	errno = saved_errno;
}

bool is_ignored(int signal)
{
	struct sigaction action = {};
	return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

StopSignal::StopSignal() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
	if (!event_.is_open())
		throw system_failure("eventfd", errno);
	event_fd = event_.get();

	struct sigaction action = {};
	action.sa_handler = on_signal;
	/* With SA_RESETHAND the second signal kills the process. */
	action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
	sigemptyset(&action.sa_mask);
	for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
		/* nohup(1) starts a program that ignores SIGHUP. */
		if (signal == SIGHUP && is_ignored(signal))
			continue;
		if (::sigaction(signal, &action, nullptr) != 0)
			throw system_failure("sigaction", errno);
	}
}

} // namespace zemctl
