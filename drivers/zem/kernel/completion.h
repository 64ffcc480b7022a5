/* SPDX-License-Identifier: GPL-2.0 */
/* A completion that counts signals: each wait consumes one. Call init() first. */
#pragma once

#include "api/completion.h"
#include "duration.h"
#include "opaque.h"

namespace zem {

class Completion {
public:
	constexpr Completion() = default;
	Completion(const Completion &) = delete;
	Completion &operator=(const Completion &) = delete;

	void init() { helper_init_completion(&completion_); }

	/* Discards all signals that were not consumed. */
	void rearm() { helper_reinit_completion(&completion_); }

	/* Context: any except NMI. */
	void signal() { complete(&completion_); }

	/* Return: whether a signal arrived in time. Context: may sleep. */
	[[nodiscard]] bool wait_for(Jiffies timeout)
	{
		return wait_for_completion_timeout(&completion_, timeout.count) != 0;
	}

private:
	completion completion_{};
};

} /* namespace zem */
