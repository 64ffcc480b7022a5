/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The checks of zemctl doctor: what makes the module's figures wrong or empty.
 */
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kernel/kernel_loss.h"
#include "kernel/paths.h"

namespace zemctl {

enum class Severity {
	kFault, /* figures are wrong, empty or incomplete */
	kNote, /* the user may want it so */
};

struct Finding {
	Severity severity;
	std::string subject; /* one word */
	std::string text; /* what is wrong, and its consequence */
	std::string command; /* what mends it, for a shell; "" if no command does */
	/* Does what @command does. Throws a Failure. Null if zemctl does not do it. */
	std::function<void()> fix;
};

/*
 * Runs all checks. @loss has counted for a while. Throws a Failure if the module is not loaded.
 */
std::vector<Finding> run_checks(const Paths &paths, const LossMeter &loss);

} // namespace zemctl
