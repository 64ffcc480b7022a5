// SPDX-License-Identifier: GPL-2.0
/* Loading a module while the kernel is made to run out of memory. */
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "commands.h"
#include "system.h"

namespace {

/* The kernel counts this task's allocations down from here and fails the one that it ends at. */
class FailingAllocation {
public:
	explicit FailingAllocation(long long which)
		: file_(("/proc/self/task/" + std::to_string(::gettid()) + "/fail-nth").c_str(),
			O_RDWR)
	{
		if (file_.fd() < 0)
			give_up("fail-nth");
		write(which);
	}

	/* Return: whether the task made so many allocations. Ends the counting. */
	bool has_failed()
	{
		char text[24] = {};
		if (::pread(file_.fd(), text, sizeof(text) - 1, 0) <= 0)
			give_up("fail-nth");
		write(0);
		return std::atoll(text) == 0;
	}

private:
	void write(long long count)
	{
		const std::string text = std::to_string(count);
		if (::pwrite(file_.fd(), text.data(), text.size(), 0) !=
		    static_cast<ssize_t>(text.size()))
			give_up("fail-nth");
	}

	File file_;
};

} // namespace

/* FILE N: loads a module while its Nth allocation fails. The outcome, and if there was no Nth. */
int run_load_failing(Arguments arguments)
{
	const File module(arguments[0], O_RDONLY);
	if (module.fd() < 0)
		give_up(arguments[0]);
	FailingAllocation failing(number(arguments[1]));
	const long result = ::syscall(SYS_finit_module, module.fd(), "", 0);
	const int error = errno;
	const bool has_failed = failing.has_failed();
	std::printf("%s%s\n", result ? error_name(error).c_str() : "loaded",
		    has_failed ? "" : ", nothing failed");
	return 0;
}
