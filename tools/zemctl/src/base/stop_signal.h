/* SPDX-License-Identifier: GPL-2.0 */
/*
 * SIGINT and SIGTERM as a descriptor that becomes readable. The first of each asks for an end;
 * a second one finds the default action again and kills, wherever the program hangs.
 */
#pragma once

#include "base/file_descriptor.h"

namespace zemctl {

/* One per process. */
class StopSignal {
public:
	StopSignal();
	StopSignal(const StopSignal &) = delete;
	StopSignal &operator=(const StopSignal &) = delete;

	int fd() const { return event_.get(); }

private:
	FileDescriptor event_;
};

} // namespace zemctl
