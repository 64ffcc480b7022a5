/* SPDX-License-Identifier: GPL-2.0 */
/* The UIDs of the last two foreground apps. */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* User space has set the state of a UID. Context: any. */
void note_foreground(u32 uid, u32 state);

} /* namespace zem */
