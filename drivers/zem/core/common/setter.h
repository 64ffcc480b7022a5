/* SPDX-License-Identifier: GPL-2.0 */
/* The type of the 21 exported setters, with which the families upload their records. */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* A null setter uploads nothing. Context: any except NMI. */
using Setter = void (*)(u64 reserved, const void *data, int len, u32 sub_type);

} /* namespace zem */
