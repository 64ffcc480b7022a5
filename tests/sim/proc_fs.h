/* SPDX-License-Identifier: GPL-2.0 */
/*
 * /proc, and what a user does to its files. Paths are relative to
 * /proc. Any thread; each read and write is an open file of its own, so they may overlap.
 */
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "gate.h"
#include "kernel/api/proc_fs.h"
#include "seq_file.h"

struct proc_dir_entry {
	proc_dir_entry(sim::Kernel &kernel, std::string name_)
		: name(std::move(name_)), activity(kernel)
	{
	}

	const std::string name;
	bool is_directory = false;
	unsigned int mode = 0;
	std::vector<std::shared_ptr<proc_dir_entry>> children;

	seq_operations operations{};
	unsigned int state_size = 0; /* of each opening; 0: @data stands in its place */
	ssize_t (*write)(const char *user_text, size_t count, void *data) = nullptr;
	void *data = nullptr;

	sim::Gate activity;
	unsigned int calls = 0; /* in a read or a write now */
	bool removed = false;
};

namespace sim {

class ProcFs {
public:
	explicit ProcFs(Kernel &kernel) : kernel_(kernel), root_(kernel, "/proc") {}

	/* As a user: -ENOENT without such a file. */
	[[nodiscard]] OpenFile open(const std::string &path);
	/* Opens, reads to the end, closes. */
	[[nodiscard]] ReadResult read(const std::string &path);
	ssize_t write(const std::string &path, std::string_view text);
	/* From memory that the user does not have. */
	ssize_t write_faulting(const std::string &path, size_t count);

	[[nodiscard]] bool exists(const std::string &path);
	/* Names and modes, in the order of creation; empty without such a directory. */
	[[nodiscard]] std::vector<std::pair<std::string, unsigned int>>
	list(const std::string &directory);
	/* How often a show was called again for want of room, since the start. */
	[[nodiscard]] unsigned int repeated_shows() const { return repeated_shows_; }
	void note_repeated_show() { repeated_shows_++; }

	/* As the kernel. A null @parent stands for /proc. */
	[[nodiscard]] proc_dir_entry *make(const std::string &name, proc_dir_entry *parent,
					   bool is_directory, unsigned int mode);
	void remove(const std::string &name, proc_dir_entry *parent);
	void remove(proc_dir_entry *entry);
	[[nodiscard]] int remove_subtree(const std::string &name, proc_dir_entry *parent);

	/* Paths of all entries. */
	[[nodiscard]] std::vector<std::string> entries();
	/* What a platform does after the code of a module is gone. */
	void clear();

private:
	class ActiveCall;

	[[nodiscard]] std::shared_ptr<proc_dir_entry> find(const std::string &path);
	ssize_t write_user(const std::string &path, const char *user_text, size_t count);

	Kernel &kernel_;
	std::mutex lock_;
	proc_dir_entry root_;
	std::atomic<unsigned int> repeated_shows_{0};
};

} /* namespace sim */
