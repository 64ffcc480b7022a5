/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Formats the names and ids of a task.
 */
#pragma once

#include <concepts>
#include <string_view>

#include "text/text.h"

namespace zemctl {

/* Appends "comm of package 1200/1234: ", or "comm 1200/1234: " for a task without a package. */
template <std::integral Tgid, std::integral Pid>
void append_task(TextBuffer &out, std::string_view comm, std::string_view package, Tgid tgid,
		 Pid pid)
{
	append_escaped(out, comm);
	if (!package.empty()) {
		out.put(" of ");
		append_escaped(out, package);
	}
	out.put(' ').number(tgid).put('/').number(pid).put(": ");
}

} // namespace zemctl
