/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Small files that the module makes below /sys and /proc, read and written whole. Every failure
 * names the file.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zemctl {

/* Fails with a clear word when @path, a file or folder of the module's, is not there. */
void require_module_file(const std::string &path);

std::string read_whole_file(const std::string &path);

/* A decimal number, with a line end or without. */
int read_number_file(const std::string &path);
std::uint64_t read_count_file(const std::string &path);

/* One write(2) with exactly these bytes; the file must take them all. */
void write_whole_file(const std::string &path, std::string_view bytes);

} // namespace zemctl
