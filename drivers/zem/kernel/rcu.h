/* SPDX-License-Identifier: GPL-2.0 */
/* An RCU read section until the end of the scope. Context: any; must not sleep inside. */
#pragma once

#include "api/rcu.h"

namespace zem {

class [[nodiscard]] RcuReadGuard {
public:
	RcuReadGuard() { helper_rcu_read_lock(); }

	~RcuReadGuard() { helper_rcu_read_unlock(); }

	RcuReadGuard(const RcuReadGuard &) = delete;
	RcuReadGuard &operator=(const RcuReadGuard &) = delete;
};

} /* namespace zem */
