/* SPDX-License-Identifier: GPL-2.0 */
/* What several commands need of the system: files, names of errors, clocks. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr const char *kTraceFile = "/sys/zem/trace";

/* Ends the program with a message: the machine, not the module, is at fault. */
[[noreturn]] void give_up(const char *what);

/* "EINVAL" and the like; for numbers without a name the number. */
std::string error_name(int error);

/* A decimal or 0x number; anything else ends the program. */
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

	/* Negative when it could not be opened; errno says why. */
	int fd() const { return fd_; }

private:
	int fd_;
};

/* The shared buffer, mapped read-only for the program's life. Gives up when there is none. */
const unsigned char *map_shared_buffer();

/* Reads the channel file behind @fd from its start. Return: the bytes that were pending. */
std::uint32_t hand_back(int fd);
