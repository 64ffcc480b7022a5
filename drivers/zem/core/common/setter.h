/* SPDX-License-Identifier: GPL-2.0 */
/* The type of the 21 exported setters, with which the families upload their records. */
#pragma once

#include "kernel/api/types.h"

namespace zem {

/* A null setter uploads nothing. Context: any. */
using Setter = void (*)(u64 reserved, const void *data, int len, u32 sub_type);

/* Uploads a record with sub-type 0. */
template <typename Record>
void upload(Setter set, const Record &record)
{
	if (set)
		set(0, &record, sizeof(record), 0);
}

} /* namespace zem */
