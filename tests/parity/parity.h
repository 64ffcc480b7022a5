/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Rules of the kernel that the module relies on, as cases that run on the simulated kernel and,
 * unchanged, on a real one. Whatever a case expects is thus true of both.
 * Context of a case: process, on CPU 0; may sleep.
 */
#pragma once

#include "kernel/api/types.h"

namespace parity {

struct Case {
	const char *name;
	void (*run)();
};

/* In the order of cases.h. */
extern const Case cases[];
extern const size_t case_count;

/* Provided by each side: note a failed expectation of the case that runs. */
void failed(const char *place, const char *expression, s64 value, s64 wanted);
void failed(const char *place, const char *expression, const char *text, const char *wanted);

/* Provided by each side: a file below /proc as a reader opens it. Only one is open at a time. */
bool open_proc(const char *name);
/* Return: the number of bytes, or a negative error code. */
s64 read_proc(char *bytes, size_t count);
/* Return: the position, or a negative error code. */
s64 seek_proc(s64 position);
void close_proc();

bool is_same_text(const char *text, const char *wanted);

#define PARITY_TEXT_OF(value) #value
#define PARITY_LINE(line) PARITY_TEXT_OF(line)
#define PARITY_PLACE __FILE__ ":" PARITY_LINE(__LINE__)

#define EXPECT_SAME(value, wanted)                                        \
	do {                                                              \
		const auto is = static_cast<s64>(value);                  \
		const auto must = static_cast<s64>(wanted);               \
		if (is != must)                                           \
			::parity::failed(PARITY_PLACE, #value, is, must); \
	} while (0)

#define EXPECT_SAME_TEXT(value, wanted)                                     \
	do {                                                                \
		const char *is = (value);                                   \
		if (!::parity::is_same_text(is, wanted))                    \
			::parity::failed(PARITY_PLACE, #value, is, wanted); \
	} while (0)

} /* namespace parity */
