/* SPDX-License-Identifier: GPL-2.0 */
/* The type of the 21 exported setters, through which the collectors upload their records. */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* A null setter uploads nothing. Context: any but an NMI. */
using Setter = void (*)(u64 reserved, const void *data, int len, u32 sub_type);

} /* namespace zem */
