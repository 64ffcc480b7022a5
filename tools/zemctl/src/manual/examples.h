/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The examples at the end of a command's help.
 */
#pragma once

#include <string>
#include <string_view>

namespace zemctl {

/* Returns the examples of @command as text, or "" if it has none. */
std::string examples_of(std::string_view command);

} // namespace zemctl
