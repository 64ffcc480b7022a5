// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl trigger: sets the train number and runs one collection cycle.
 */
#include "commands.h"

#include "../errors.h"
#include "../sysfs.h"

namespace zemctl {

int run_trigger(const Paths &paths, int train_number)
{
	ControlNode(paths.sysfs).write_number("trigger", train_number);
	return kStatusSuccess;
}

} // namespace zemctl
