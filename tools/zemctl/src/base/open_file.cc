// SPDX-License-Identifier: GPL-2.0
/*
 * Opens files.
 */
#include "base/open_file.h"

#include <cerrno>

#include "base/errors.h"

namespace zemctl {

FileDescriptor open_file(const std::string &path, int flags, mode_t mode)
{
	FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, mode));
	if (!file.is_open())
		throw system_failure(path, errno);
	return file;
}

} // namespace zemctl
