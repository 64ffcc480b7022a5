/* SPDX-License-Identifier: GPL-2.0 */
/* A completion: signals are counted, each wait takes one. init() comes before anything else. */
#pragma once

#include "api/completion.h"
#include "opaque.h"

namespace zem {

class Completion {
public:
	constexpr Completion() = default;
	Completion(const Completion &) = delete;
	Completion &operator=(const Completion &) = delete;

	void init() { helper_init_completion(&completion_); }

	/* Forgets all signals that nobody has taken. */
	void rearm() { helper_reinit_completion(&completion_); }

	/* Any context but an NMI. */
	void signal() { complete(&completion_); }

	/* May sleep, for ever and whatever signals the task gets. */
	void wait() { helper_wait_for_completion_idle(&completion_); }

	/* May sleep. Return: whether a signal came within @timeout jiffies. */
	[[nodiscard]] bool wait_for(unsigned long timeout)
	{
		return wait_for_completion_timeout(&completion_, timeout) != 0;
	}

private:
	completion completion_{};
};

} /* namespace zem */
