/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Programs that bring the records of zem_flood from the kernel to a file, each the way its tool
 * does, and in its own process, whose CPU time is measured.
 */
#pragma once

#include <cstdint>
#include <string>

struct Reader {
	const char *name;
	/* What zem_flood does for it. */
	const char *method;
	/*
	 * Runs in the reader's process: sets up, calls ready(), and writes records to @file until
	 * SIGINT. Does not return, unless it fails.
	 */
	void (*run)(const char *file, unsigned int size, void (*ready)());
	/* The records that arrived in @file, or were counted on the way; called after the reader's
	 * end. */
	std::uint64_t (*received)(const char *file, unsigned int size, std::uint64_t pushed);
};

/* All readers. Ends with a null name. */
extern const Reader kReaders[];

[[noreturn]] void die(const std::string &what);

/* Set by SIGINT. */
extern volatile bool must_stop;
