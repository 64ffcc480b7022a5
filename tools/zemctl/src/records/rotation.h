/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The names of a rotated capture's files. FILE is the path that the user gave:
 *
 *	FILE.000042		a finished file; the numbers grow by one
 *	FILE.000043.part	the file that is being written
 *
 * A file gets its final name when it is complete, so a program that takes finished files away never
 * sees half of one.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"

namespace zemctl {

class Rotation {
public:
	/*
	 * Finds the files of earlier runs, and continues after the highest number. A file that a
	 * killed run left unfinished gets its final name: its blocks are valid. Throws a Failure if
	 * a process still writes it.
	 */
	Rotation(std::string path, std::optional<std::uint64_t> keep);

	/* Creates the next file. path() is its name. */
	FileDescriptor create();
	const std::string &path() const { return part_; }

	/*
	 * Gives the current file its final name, on the disk, too, and removes the oldest ones that
	 * exceed the number of files to keep.
	 */
	void finish();

private:
	std::string final_path(std::uint64_t number) const;
	void find_earlier_files();
	void rename_part(std::uint64_t number);
	void sync_folder() const;
	void remove_oldest();

	std::string base_;
	std::string folder_;
	std::optional<std::uint64_t> keep_;
	std::vector<std::uint64_t> numbers_; /* of the finished files, ascending */
	std::uint64_t current_ = 0;
	std::string part_;
};

} // namespace zemctl
