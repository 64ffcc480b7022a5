/* SPDX-License-Identifier: GPL-2.0 */
/* Probes of tracepoints and hooks. Their first argument is the registration's data pointer. */
#pragma once

#include "api/tracepoint.h"

namespace zem {

/* Converts a handler to the kernel's type. The hook's type determines the arguments. */
template <typename... Arguments>
[[nodiscard]] void *probe(void (*handler)(void *, Arguments...))
{
	return reinterpret_cast<void *>(handler);
}

/* A probe that can be detached. The kernel warns if it is not attached. Context: may sleep. */
class ProbeSlot {
public:
	constexpr ProbeSlot() = default;

	template <typename... Arguments>
	int attach(tracepoint *point, void (*handler)(void *, Arguments...))
	{
		const int error = tracepoint_probe_register(point, probe(handler), nullptr);
		if (!error) {
			point_ = point;
			handler_ = probe(handler);
		}
		return error;
	}

	/* The handler may still run until helper_tracepoint_synchronize_unregister() returns. */
	void detach()
	{
		if (point_)
			tracepoint_probe_unregister(point_, handler_, nullptr);
		point_ = nullptr;
	}

private:
	tracepoint *point_ = nullptr;
	void *handler_ = nullptr;
};

} /* namespace zem */
