/* SPDX-License-Identifier: GPL-2.0 */
/*
 * /proc and a user's operations on its files. Paths are relative to /proc. Any thread. Each read
 * and write opens the file separately, so they may overlap.
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
	unsigned int state_size = 0; /* of each open file; 0: @data is used instead */
	ssize_t (*write)(const char *user_text, size_t count, void *data) = nullptr;
	void *data = nullptr;

	sim::Gate activity;
	unsigned int calls = 0; /* number of running reads and writes */
	bool removed = false;
};

namespace sim {

class ProcFs {
public:
	explicit ProcFs(Kernel &kernel) : kernel_(kernel), root_(kernel, "/proc") {}

	/* The user's side. -ENOENT if the file does not exist. */
	[[nodiscard]] OpenFile open(const std::string &path);
	/* Opens, reads to the end, closes. */
	[[nodiscard]] ReadResult read(const std::string &path);
	ssize_t write(const std::string &path, std::string_view text);
	/* Writes from unmapped memory. */
	ssize_t write_faulting(const std::string &path, size_t count);

	[[nodiscard]] bool exists(const std::string &path);
	/* Names and modes in the order of creation; empty if there is no such directory. */
	[[nodiscard]] std::vector<std::pair<std::string, unsigned int>>
	list(const std::string &directory);
	/* Number of show calls that were repeated for lack of room since the start. */
	[[nodiscard]] unsigned int repeated_shows() const { return repeated_shows_; }
	void note_repeated_show() { repeated_shows_++; }

	/* The kernel's side. A null @parent stands for /proc. */
	[[nodiscard]] proc_dir_entry *make(const std::string &name, proc_dir_entry *parent,
					   bool is_directory, unsigned int mode);
	void remove(const std::string &name, proc_dir_entry *parent);
	void remove(proc_dir_entry *entry);
	[[nodiscard]] int remove_subtree(const std::string &name, proc_dir_entry *parent);

	/* Paths of all entries. */
	[[nodiscard]] std::vector<std::string> entries();
	/* Removes everything, as a platform does after the module's code is freed. */
	void clear();

private:
	[[nodiscard]] std::shared_ptr<proc_dir_entry> find(const std::string &path);
	ssize_t write_user(const std::string &path, const char *user_text, size_t count);

	Kernel &kernel_;
	std::mutex lock_;
	proc_dir_entry root_;
	std::atomic<unsigned int> repeated_shows_{0};
};

} /* namespace sim */
