/* SPDX-License-Identifier: GPL-2.0 */
/* The control block of a transfer, at offsets determined by the build. Context: any. */
#pragma once

#include "api/types.h"
#include "kernel/layout.gen.h"

struct kiocb;

namespace zem {

/* layout.c compares it with the kernel's. */
inline constexpr int kIocbDsync = 2;

/* Return: whether a write has synchronous data semantics; false for null. */
[[nodiscard]] inline bool kiocb_is_dsync(const kiocb *iocb)
{
	if (!iocb)
		return false;
	int flags;
	__builtin_memcpy(&flags, reinterpret_cast<const char *>(iocb) + KERNEL_KIOCB_FLAGS,
			 sizeof(flags));
	return flags & kIocbDsync;
}

} /* namespace zem */
