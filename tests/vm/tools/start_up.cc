// SPDX-License-Identifier: GPL-2.0
/* Loads a module while allocations fail, or threads. */
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

/* Makes the kernel fail this task's Nth allocation from now on. */
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

	/* Return: whether the task made N allocations. Ends the counting. */
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

/* Makes the kernel refuse new threads. */
class NoMoreThreads {
public:
	NoMoreThreads() : file_("/proc/sys/kernel/threads-max", O_RDWR)
	{
		char text[24] = {};
		if (::pread(file_.fd(), text, sizeof(text) - 1, 0) <= 0)
			give_up("threads-max");
		before_ = text;
		/* The least that the kernel accepts. A machine that is up has more. */
		write("20");
	}
	NoMoreThreads(const NoMoreThreads &) = delete;
	NoMoreThreads &operator=(const NoMoreThreads &) = delete;
	~NoMoreThreads() { write(before_); }

private:
	void write(const std::string &text)
	{
		if (::pwrite(file_.fd(), text.data(), text.size(), 0) < 0)
			give_up("threads-max");
	}

	File file_;
	std::string before_;
};

} // namespace

/* FILE N: loads a module while its Nth allocation fails. Prints the result, and if there was no
 * Nth. */
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

/* FILE: loads a module while the kernel refuses new threads. Prints the result. */
int run_load_without_threads(Arguments arguments)
{
	const File module(arguments[0], O_RDONLY);
	if (module.fd() < 0)
		give_up(arguments[0]);
	long result;
	int error;
	{
		const NoMoreThreads none;
		result = ::syscall(SYS_finit_module, module.fd(), "", 0);
		error = errno;
	}
	std::printf("%s\n", result ? error_name(error).c_str() : "loaded");
	return 0;
}
