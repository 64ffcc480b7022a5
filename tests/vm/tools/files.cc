// SPDX-License-Identifier: GPL-2.0
/* Commands on single files and on the clock. They print the error numbers that a shell hides. */
#include "commands.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "system.h"

namespace {

/* Replaces \n, \\ and \0 in an argument, which cannot hold a NUL. */
std::string unescaped(const char *text)
{
	std::string bytes;
	for (; *text; text++) {
		if (*text != '\\') {
			bytes += *text;
			continue;
		}
		text++;
		bytes += *text == 'n' ? '\n' : *text == '0' ? '\0' : *text;
	}
	return bytes;
}

std::string store(const char *path, const std::string &bytes)
{
	const File file(path, O_WRONLY);
	if (file.fd() < 0)
		return error_name(errno);
	const ssize_t written = ::write(file.fd(), bytes.data(), bytes.size());
	return written < 0 ? error_name(errno) : std::to_string(written);
}

/* Returns the first line, or the name of the error. */
std::string content(const char *path)
{
	const File file(path, O_RDONLY);
	char text[64];
	const ssize_t got = file.fd() < 0 ? -1 : ::read(file.fd(), text, sizeof(text));
	if (got < 0)
		return error_name(errno);
	const std::string all(text, static_cast<std::size_t>(got));
	return all.substr(0, all.find('\n'));
}

} // namespace

/* Prints "-" for a channel file, which has no text and whose reading has a side effect. */
int run_store(Arguments arguments)
{
	const bool is_write_only = std::string(arguments[0]) == "--only";
	if (is_write_only)
		arguments = arguments.subspan(1);
	const char *path = arguments[0];
	for (const char *text : arguments.subspan(1)) {
		const std::string outcome = store(path, unescaped(text));
		std::printf("%s: %s %s\n", text, outcome.c_str(),
			    is_write_only ? "-" : content(path).c_str());
	}
	return 0;
}

int run_read(Arguments arguments)
{
	const File file(arguments[0], O_RDONLY);
	unsigned char bytes[4096];
	const ssize_t got = file.fd() < 0 ? -1 : ::read(file.fd(), bytes, sizeof(bytes));
	if (got < 0) {
		std::printf("%s\n", error_name(errno).c_str());
		return 0;
	}
	std::printf("%zd:", got);
	for (ssize_t i = 0; i < got; i++)
		std::printf("%02x", bytes[i]);
	std::printf("\n");
	return 0;
}

int run_fault(Arguments arguments)
{
	const File file(arguments[0], O_WRONLY);
	const void *nowhere = ::mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
	const ssize_t written = file.fd() < 0 ? -1 : ::write(file.fd(), nowhere, 1);
	std::printf("%s\n", written < 0 ? error_name(errno).c_str() : "written");
	return 0;
}

int run_unload(Arguments arguments)
{
	const long result = ::syscall(SYS_delete_module, arguments[0], O_NONBLOCK);
	std::printf("%s\n", result ? error_name(errno).c_str() : "unloaded");
	return 0;
}

namespace {

/* A file that is open in the modes that it allows. One byte of it was read. */
struct OpenFile {
	const char *path;
	bool is_readable;
	int fd;
};

OpenFile begin(const char *path)
{
	char byte;
	int fd = ::open(path, O_RDONLY | O_CLOEXEC);
	if (fd >= 0) {
		/* A file without text now may have some later. */
		static_cast<void>(!::read(fd, &byte, 1));
		return {path, true, fd};
	}
	fd = ::open(path, O_WRONLY | O_CLOEXEC);
	if (fd < 0)
		give_up(path);
	return {path, false, fd};
}

/* Reads from the start: the text that was formatted for an earlier read may still be there. */
ssize_t begin_again(const OpenFile &file)
{
	char byte = '1';
	return file.is_readable ? ::pread(file.fd, &byte, 1, 0) : ::write(file.fd, &byte, 1);
}

} // namespace

int run_keep_open(Arguments arguments)
{
	std::vector<OpenFile> files;
	for (const char *path : arguments)
		files.push_back(begin(path));
	::raise(SIGSTOP);
	for (const OpenFile &file : files) {
		const ssize_t result = begin_again(file);
		std::printf("%s: %s\n", file.path,
			    result < 0 ? error_name(errno).c_str() :
					 std::to_string(result).c_str());
	}
	return 0;
}

int run_now(Arguments)
{
	std::printf("%llu\n", static_cast<unsigned long long>(wall_clock_ns()));
	return 0;
}

int run_shift_clock(Arguments arguments)
{
	timespec now;
	::clock_gettime(CLOCK_REALTIME, &now);
	now.tv_sec += number(arguments[0]);
	if (::clock_settime(CLOCK_REALTIME, &now))
		give_up("clock_settime");
	return 0;
}
