/* SPDX-License-Identifier: GPL-2.0 */
/* Files below /proc that come off again. May sleep. */
#pragma once

#include "api/proc_fs.h"

namespace zem {

/* At most kMost of them. One that could not be made is not there to be taken off. */
template <size_t kMost>
class ProcFiles {
public:
	constexpr ProcFiles() = default;

	/* @file: null if it could not be made. */
	void add(proc_dir_entry *file)
	{
		if (file)
			files_[count_++] = file;
	}

	/* In the order in which they came. Returns after the last user is out of each. */
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
