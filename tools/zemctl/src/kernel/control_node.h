/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The control node, /sys/zem: files that hold numbers, and a file for each channel that accepts
 * records.
 */
#pragma once

#include <string>
#include <string_view>

namespace zemctl {

class ControlNode {
public:
	/* Throws a Failure with a clear message if the module is not loaded. */
	explicit ControlNode(std::string directory);

	std::string path(std::string_view name) const;
	int read_number(std::string_view name) const;
	void write_number(std::string_view name, int value) const;
	/* Writes exactly these bytes with one write(2). The file must accept all of them. */
	void write(std::string_view name, std::string_view bytes) const;

private:
	std::string directory_;
};

} // namespace zemctl
