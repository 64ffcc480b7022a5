/* SPDX-License-Identifier: GPL-2.0 */
/* The table of channels, indexed by id. Read-only. Context: any. */
#pragma once

#include "core/common/setter.h"
#include "uapi/linux/zem.h"

namespace zem {

struct Channel {
	const char *name;
	Setter set;
};

extern const Channel zem[ZEM_CHANNEL_COUNT];

} /* namespace zem */
