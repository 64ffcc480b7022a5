/* SPDX-License-Identifier: GPL-2.0 */
/* Functions for several commands: files, names of errors, clocks. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr const char *kTraceFile = "/sys/zem/trace";

/* Ends the program with a message if the machine, not the module, is at fault. */
[[noreturn]] void give_up(const char *what);

/* Returns the name of an error such as "EINVAL", or its number if it has no name. */
std::string error_name(int error);

/* Parses a decimal or 0x number. Anything else ends the program. */
long long number(const char *text);

std::uint64_t wall_clock_ns();
std::int64_t monotonic_ms();
void sleep_ms(int duration);

/* An open file, closed at the end of the scope. */
class File {
public:
	File(const char *path, int flags);
	~File();
	File(const File &) = delete;
	File &operator=(const File &) = delete;

	/* Negative if the file could not be opened; errno has the reason. */
	int fd() const { return fd_; }

private:
	int fd_;
};

/* Maps the shared buffer read-only for the program's life. Gives up if there is none. */
const unsigned char *map_shared_buffer();

/* Reads the channel file of @fd from its start. Return: the number of bytes that were pending. */
std::uint32_t hand_back(int fd);
