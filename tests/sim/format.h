/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats text like the kernel's printf: pointers are hashed, and block devices are printed by
 * name. An unknown conversion is noted as a problem.
 */
#pragma once

#include <cstdarg>
#include <string>

namespace sim {

[[nodiscard]] std::string format(const char *fmt, va_list arguments);

/* The output of %p: never the address, and zeros for null. */
[[nodiscard]] std::string pointer_text(const void *pointer);

} /* namespace sim */
