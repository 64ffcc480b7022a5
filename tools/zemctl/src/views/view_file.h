/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A text file of the module, read whole and parsed.
 */
#pragma once

#include <string>

#include <fmt/format.h>

#include "base/errors.h"
#include "kernel/files.h"

namespace zemctl {

/*
 * Returns what @parse, a function of the text, makes of @file. A Failure that @parse throws is
 * thrown on with the name of the file in front of its message.
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
