/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The labels of tasks. Tasks of one name and package share a series: ids of tasks would make a new
 * series for each start of a program.
 */
#pragma once

#include <string_view>

#include "metrics/writer.h"

namespace zemctl {

inline Labels task_labels(std::string_view comm, std::string_view package)
{
	return Labels().add("comm", comm).add("package", package);
}

/* The tasks without series of their own. */
inline Labels other_tasks()
{
	return task_labels("other", "");
}

} // namespace zemctl
