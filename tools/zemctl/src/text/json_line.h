/* SPDX-License-Identifier: GPL-2.0 */
/*
 * JSON output, one object a line.
 */
#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace zemctl {

/* Returns @object in one line. Bytes that are not UTF-8 become replacement characters. */
std::string json_line(const nlohmann::ordered_json &object);

} // namespace zemctl
