/* SPDX-License-Identifier: GPL-2.0 */
/*
 * zemctl unload. A test may replace the system call.
 */
#pragma once

#include <functional>

#include "kernel/paths.h"

namespace zemctl {

/* Unloads the module, as delete_module(2) does. Return: 0, or an errno value. */
using DeleteModule = std::function<int()>;
int delete_zem_module();

/* Return: the exit status. */
int run_unload(const Paths &paths, const DeleteModule &delete_module = delete_zem_module);

} // namespace zemctl
