/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads and parses a text file of the module.
 */
#pragma once

#include <string>

#include <fmt/format.h>

#include "base/errors.h"
#include "kernel/files.h"

namespace zemctl {

/*
 * Calls @parse with the text of @file and returns its result. Puts the name of the file in front of
 * the message of a Failure of @parse.
 */
template <typename Parse>
auto parse_file(const std::string &file, Parse parse)
{
	require_module_file(file);
	const std::string text = read_whole_file(file);
	try {
		return parse(text);
	} catch (const Failure &failure) {
		throw Failure(fmt::format("{}: {}", file, failure.what()));
	}
}

} // namespace zemctl
