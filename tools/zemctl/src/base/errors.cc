// SPDX-License-Identifier: GPL-2.0
/*
 * How commands fail: the messages of common failures.
 */
#include "base/errors.h"

#include <system_error>

#include <fmt/format.h>

namespace zemctl {

Failure system_failure(std::string_view path, int error)
{
	return Failure(fmt::format("{}: {}", path, std::generic_category().message(error)));
}

Failure usage_failure(const std::string &message)
{
	return Failure(message, kStatusUsage);
}

} // namespace zemctl
