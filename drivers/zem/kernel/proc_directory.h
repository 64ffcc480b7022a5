/* SPDX-License-Identifier: GPL-2.0 */
/* A directory below /proc and its files, created from a table of rows. Context: may sleep. */
#pragma once

#include "api/printk.h"
#include "api/proc_fs.h"
#include "errno.h"

namespace zem {

/* A file has one of @file, @show and @operations. */
struct ProcRow {
	const char *name;
	umode_t mode = 0; /* of @file; the others are read-only */
	const proc_file *file = nullptr;
	/* Prints the whole text. helper_seq_private() returns @data. */
	int (*show)(seq_file *file, void *unused) = nullptr;
	const void *data = nullptr;
	/* Print the text element by element, with @state_size bytes for each open file. */
	const seq_operations *operations = nullptr;
	unsigned int state_size = 0;
	bool stays = false; /* remove() leaves the file */
};

template <size_t Count>
class ProcDirectory {
public:
	/* Both arguments must live as long as the directory. */
	constexpr ProcDirectory(const char *name, const ProcRow (&rows)[Count])
		: name_(name), rows_(rows)
	{
	}

	ProcDirectory(const ProcDirectory &) = delete;
	ProcDirectory &operator=(const ProcDirectory &) = delete;

	/*
	 * Files that cannot be created are missing. Return: false, and no message, if the
	 * directory cannot be created.
	 */
	[[nodiscard]] bool create()
	{
		directory_ = proc_mkdir(name_, nullptr);
		for (size_t i = 0; directory_ && i < Count; i++)
			files_[i] = create_file(rows_[i]);
		return directory_;
	}

	/* As create(), and logs the result for the function @caller. Return: 0 or -ENOMEM. */
	[[nodiscard]] int create_for(const char *caller)
	{
		if (!create()) {
			pr_err("Error in %s!\n", caller);
			return -ENOMEM;
		}
		pr_info("%s Success!\n", caller);
		return 0;
	}

	/*
	 * Creates everything or nothing, and logs what cannot be created.
	 * Return: 0 or -ENOENT.
	 */
	[[nodiscard]] int create_whole()
	{
		directory_ = proc_mkdir(name_, nullptr);
		if (!directory_) {
			pr_err("%s: create procfs dir failed\n", name_);
			return -ENOENT;
		}
		for (size_t i = 0; i < Count; i++) {
			files_[i] = create_file(rows_[i]);
			if (files_[i])
				continue;
			pr_err("create %s failed\n", rows_[i].name);
			remove_whole();
			return -ENOENT;
		}
		return 0;
	}

	/*
	 * Removes the files in the order of the table. The directory stays. Returns when no user is
	 * left in the functions of the removed files.
	 */
	void remove()
	{
		for (size_t i = 0; i < Count; i++) {
			if (!files_[i] || rows_[i].stays)
				continue;
			proc_remove(files_[i]);
			files_[i] = nullptr;
		}
	}

	/* Removes the files and the directory, if it exists. */
	void remove_whole()
	{
		remove();
		if (directory_)
			proc_remove(directory_);
		directory_ = nullptr;
	}

private:
	proc_dir_entry *create_file(const ProcRow &row)
	{
		if (row.file)
			return helper_proc_create(row.name, row.mode, directory_, row.file);
		if (row.show)
			return proc_create_single_data(row.name, row.mode, directory_, row.show,
						       const_cast<void *>(row.data));
		return proc_create_seq_private(row.name, row.mode, directory_, row.operations,
					       row.state_size, nullptr);
	}

	const char *const name_;
	const ProcRow (&rows_)[Count];
	proc_dir_entry *directory_ = nullptr;
	proc_dir_entry *files_[Count]{};
};

} /* namespace zem */
