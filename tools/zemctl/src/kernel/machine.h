/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Describes the machine for the marks at the start of a capture.
 */
#pragma once

#include <string>
#include <vector>

#include "records/capture_writer.h"

namespace zemctl {

struct Machine {
	MachineDescription description;
	std::vector<CpuDescription> cpus;
	std::string packages; /* lines with a UID, a space and a package */
};

/*
 * Reads the files of the system below @root, which a test replaces. What cannot be read remains
 * empty: a capture is useful without it.
 */
Machine read_machine(const std::string &root = {});

void write_machine(CaptureWriter &writer, const Machine &machine);

} // namespace zemctl
