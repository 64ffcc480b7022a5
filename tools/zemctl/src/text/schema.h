/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The members that begin every JSON output: the name of its schema, which is a file in docs/schema,
 * and the version of that schema.
 */
#pragma once

#include <string_view>

#include "text/json_writer.h"

namespace zemctl {

/*
 * The version of all schemas. It grows when a member is removed or renamed, or when its type or
 * meaning changes. New members do not change it.
 */
inline constexpr std::uint32_t kSchemaVersion = 1;

inline void schema_json(JsonWriter &json, std::string_view schema)
{
	json.text("schema", schema);
	json.number("schema_version", kSchemaVersion);
	json.text("zemctl_version", ZEMCTL_VERSION);
}

} // namespace zemctl
