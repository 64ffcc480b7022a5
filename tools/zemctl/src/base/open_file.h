/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Opens files.
 */
#pragma once

#include <string>

#include <fcntl.h>

#include "base/file_descriptor.h"

namespace zemctl {

inline constexpr int kCreateFlags = O_WRONLY | O_CREAT | O_TRUNC;

/* Opens @path as open(2) does, also with O_CLOEXEC. Throws a Failure that names @path. */
FileDescriptor open_file(const std::string &path, int flags = O_RDONLY, mode_t mode = 0);

} // namespace zemctl
