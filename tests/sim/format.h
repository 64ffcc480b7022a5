/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Text as the kernel's printf makes it: pointers are hashed, block devices printed by name. What it
 * does not know it notes as a problem.
 */
#pragma once

#include <cstdarg>
#include <string>

namespace sim {

[[nodiscard]] std::string format(const char *fmt, va_list arguments);

/* What %p makes of a pointer: never the address, and zeros for null. */
[[nodiscard]] std::string pointer_text(const void *pointer);

} /* namespace sim */
