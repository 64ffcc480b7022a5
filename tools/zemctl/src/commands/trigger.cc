// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl trigger: sets the train number and runs one collection cycle.
 */
#include "commands/commands.h"

#include <memory>

#include "base/errors.h"
#include "commands/options.h"
#include "kernel/control_node.h"

namespace zemctl {

void add_trigger(CLI::App &app, CommandLine &line)
{
	const auto train_number = std::make_shared<int>(0);
	CLI::App *command =
		app.add_subcommand("trigger", "Set the train number and run one collection");
	add_number<int>(*command, "N", *train_number, "The train number, any 32-bit integer")
		->required();
	runs(*command, line, [train_number](const Paths &paths) {
		ControlNode(paths.sysfs).write_number("trigger", *train_number);
		return kStatusSuccess;
	});
}

} // namespace zemctl
