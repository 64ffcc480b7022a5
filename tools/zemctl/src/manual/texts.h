/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The prose of the manual, a file per command in the folder manual.
 */
#pragma once

#include <string_view>

namespace zemctl {

/* Returns the prose about @command, or about zemctl itself; null data if there is none. */
std::string_view manual_text(std::string_view command);

} // namespace zemctl
