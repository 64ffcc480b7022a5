/* SPDX-License-Identifier: GPL-2.0 */
/* Owns entries below /proc, and removes them. Context: may sleep. */
#pragma once

#include "api/proc_fs.h"

namespace zem {

/* At most kMost entries. Entries that could not be created are skipped. */
template <size_t kMost>
class ProcFiles {
public:
	constexpr ProcFiles() = default;

	/* @file: null if it could not be created. */
	void add(proc_dir_entry *file)
	{
		if (file)
			files_[count_++] = file;
	}

	/* Removes in the order of creation. Returns when no user is left in the files' functions.
	 */
	void remove()
	{
		for (size_t i = 0; i < count_; i++)
			proc_remove(files_[i]);
		count_ = 0;
	}

private:
	proc_dir_entry *files_[kMost]{};
	size_t count_ = 0;
};

} /* namespace zem */
