/* SPDX-License-Identifier: GPL-2.0 */
/* Probes of tracepoints and hooks: functions that get the registrant's pointer first. */
#pragma once

#include "api/tracepoint.h"

namespace zem {

/* A handler as the kernel takes it; the hook's own type says how it is called. */
template <typename... Arguments>
[[nodiscard]] void *probe(void (*handler)(void *, Arguments...))
{
	return reinterpret_cast<void *>(handler);
}

} /* namespace zem */
