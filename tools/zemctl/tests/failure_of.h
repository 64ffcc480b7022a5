/* SPDX-License-Identifier: GPL-2.0 */
/* Returns the message of a failure. */
#pragma once

#include <string>
#include <utility>

#include "base/errors.h"

namespace zemctl {

/* Calls @call with @arguments. Returns the message of the Failure that it throws, or "none". */
template <typename Call, typename... Arguments>
std::string failure_of(const Call &call, Arguments &&...arguments)
{
	try {
		call(std::forward<Arguments>(arguments)...);
	} catch (const Failure &failure) {
		return failure.what();
	}
	return "none";
}

} // namespace zemctl
