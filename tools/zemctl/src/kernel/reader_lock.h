/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Makes sure that one process reads the shared buffer: two would take records from each other.
 */
#pragma once

#include <string>

#include "base/file_descriptor.h"

namespace zemctl {

class ReaderLock {
public:
	/*
	 * Locks the file that hands the buffer back until the end of this object. Throws a Failure
	 * that names the process that has the lock already. @proc is where procfs is mounted.
	 */
	ReaderLock(const std::string &trace_path, const std::string &proc);

private:
	FileDescriptor file_;
};

} // namespace zemctl
