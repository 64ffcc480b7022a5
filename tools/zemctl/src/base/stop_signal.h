/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reports SIGINT, SIGTERM and SIGHUP through a descriptor that becomes readable. The first signal
 * of each kind requests the end of the program. The second has the default action: it kills the
 * process, even if the program hangs.
 */
#pragma once

#include "base/file_descriptor.h"

namespace zemctl {

/* At most one instance exists in a process. */
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
