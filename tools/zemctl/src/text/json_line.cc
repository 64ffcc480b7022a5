// SPDX-License-Identifier: GPL-2.0
/*
 * JSON output, one object a line.
 */
#include "text/json_line.h"

#include <nlohmann/json.hpp>

namespace zemctl {

std::string json_line(const nlohmann::ordered_json &object)
{
	/* A task may give itself a name of any bytes; by default the library throws for those. */
	return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

} // namespace zemctl
