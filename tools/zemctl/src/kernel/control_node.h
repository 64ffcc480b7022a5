/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The control node, /sys/zem: numbers in files, and the channels' files that take records.
 */
#pragma once

#include <string>
#include <string_view>

namespace zemctl {

class ControlNode {
public:
	/* Fails with a clear word when the module is not loaded. */
	explicit ControlNode(std::string directory);

	std::string path(std::string_view name) const;
	int read_number(std::string_view name) const;
	void write_number(std::string_view name, int value) const;
	/* One write(2) with exactly these bytes; the file must take them all. */
	void write(std::string_view name, std::string_view bytes) const;

private:
	std::string directory_;
};

} // namespace zemctl
