/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Open files of /proc, with seq_file behind them: a text made element by element, in a buffer that
 * is filled anew when it was read, and grows when a single element does not fit. One thread at a
 * time for each file.
 */
#pragma once

#include <memory>
#include <vector>

#include "kernel/api/proc_fs.h"
#include "sysfs.h"

struct proc_dir_entry;

/* A text that does not fit fills the buffer: that is how it is known to be too small. */
struct seq_file {
	std::unique_ptr<char[]> buffer;
	size_t size = 0;
	size_t from = 0; /* what is left to be read: so many bytes from here on */
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
	/* Errors of opening it come from every call. */
	OpenFile(Kernel &kernel, std::shared_ptr<proc_dir_entry> entry);

	/* As the system calls: at most @count bytes; 0 at the end. */
	[[nodiscard]] ReadResult read(size_t count);
	[[nodiscard]] ReadResult pread(size_t count, s64 offset);
	/* From the start. Return: the new position or a negative error code. */
	s64 lseek(s64 offset);

	/* From where it is to its end, @piece bytes a call. */
	[[nodiscard]] ReadResult read_all(size_t piece = 131072);

private:
	class ActiveCall;

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
