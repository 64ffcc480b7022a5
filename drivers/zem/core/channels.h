/* SPDX-License-Identifier: GPL-2.0 */
/* The channels: an id is a row of the table. Read-only, any context. */
#pragma once

#include "core/records.h"

namespace zem {

struct Channel {
	const char *name;
	Setter set;
};

extern const Channel zem[ZEM_CHANNEL_COUNT];

} /* namespace zem */
