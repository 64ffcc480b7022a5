// SPDX-License-Identifier: GPL-2.0
/*
 * The control node, /sys/zem.
 */
#include "kernel/control_node.h"

#include <fmt/format.h>

#include "kernel/files.h"

namespace zemctl {

ControlNode::ControlNode(std::string directory) : directory_(std::move(directory))
{
	require_module_file(directory_);
}

std::string ControlNode::path(std::string_view name) const
{
	return fmt::format("{}/{}", directory_, name);
}

int ControlNode::read_number(std::string_view name) const
{
	return read_number_file(path(name));
}

void ControlNode::write_number(std::string_view name, int value) const
{
	write(name, fmt::format("{}\n", value));
}

void ControlNode::write(std::string_view name, std::string_view bytes) const
{
	write_whole_file(path(name), bytes);
}

} // namespace zemctl
