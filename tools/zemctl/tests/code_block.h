/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The programs that the documents have for their readers.
 */
#pragma once

#include <fstream>
#include <string>

namespace zemctl {

/* Returns the first block of code in @language on a page of docs. */
inline std::string code_block_of(const std::string &page, const std::string &language)
{
	std::ifstream lines(std::string(ZEMCTL_DOCS "/") + page);
	std::string code;
	bool is_code = false;
	for (std::string line; std::getline(lines, line);) {
		if (is_code && line == "```")
			break;
		if (is_code)
			code += line + '\n';
		is_code = is_code || line == "```" + language;
	}
	return code;
}

} // namespace zemctl
