/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads and writes small files of the module below /sys and /proc as a whole. Every Failure names
 * the file.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zemctl {

/* Throws a Failure with a clear message if @path, a file or folder of the module, does not exist.
 */
void require_module_file(const std::string &path);

std::string read_whole_file(const std::string &path);

/* Reads a decimal number, with or without a line end. */
int read_number_file(const std::string &path);
std::uint64_t read_count_file(const std::string &path);

/* Writes exactly these bytes with one write(2). The file must accept all of them. */
void write_whole_file(const std::string &path, std::string_view bytes);

} // namespace zemctl
