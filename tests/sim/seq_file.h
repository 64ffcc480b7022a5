/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Open files of /proc with seq_file. The text is produced element by element in a buffer, which is
 * filled again after it was read, and grows if a single element does not fit. Each file is used by
 * one thread at a time.
 */
#pragma once

#include <memory>
#include <vector>

#include "kernel/api/proc_fs.h"
#include "sysfs.h"

struct proc_dir_entry;

/* Text that does not fit fills the buffer completely, which marks the overflow. */
struct seq_file {
	std::unique_ptr<char[]> buffer;
	size_t size = 0;
	size_t from = 0; /* the start of the unread bytes, whose number follows */
	size_t count = 0;
	s64 index = 0;
	s64 read_position = 0;
	void *data = nullptr;

	[[nodiscard]] bool has_overflowed() const { return count == size; }
};

namespace sim {

class Kernel;

class OpenFile {
public:
	/* Every call returns an error of opening the file. */
	OpenFile(Kernel &kernel, std::shared_ptr<proc_dir_entry> entry);

	/* Like the system call: at most @count bytes; 0 at the end. */
	[[nodiscard]] ReadResult read(size_t count);
	[[nodiscard]] ReadResult pread(size_t count, s64 offset);
	/* Seeks from the start. Return: the new position or a negative error code. */
	s64 lseek(s64 offset);

	/* Reads from the present position to the end, @piece bytes in each call. */
	[[nodiscard]] ReadResult read_all(size_t piece = 131072);

private:
	class CheckedCall;

	[[nodiscard]] ssize_t read_at(s64 &position, std::string &text, size_t count);
	[[nodiscard]] bool make_buffer();
	[[nodiscard]] bool grow_buffer();
	[[nodiscard]] int go_to(s64 offset);
	[[nodiscard]] int traverse(s64 offset);
	void forget_position();
	void take(std::string &text, size_t count);
	[[nodiscard]] int fill(size_t wanted);
	void fill_on(void *element, size_t wanted);
	/* Calls of the file's operations. */
	[[nodiscard]] void *start();
	void stop(void *element);
	[[nodiscard]] void *next(void *element);
	[[nodiscard]] int show(void *element);

	Kernel &kernel_;
	const std::shared_ptr<proc_dir_entry> entry_;
	std::vector<u64> state_;
	seq_file file_;
	s64 position_ = 0;
};

} /* namespace sim */
