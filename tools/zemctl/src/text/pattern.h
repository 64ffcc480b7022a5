/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A regular expression, as grep -E takes it.
 */
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <regex.h>

namespace zemctl {

class Pattern {
public:
	/* Throws a usage Failure if @expression is none. */
	explicit Pattern(const std::string &expression);

	/* Returns whether a part of one line of @text matches. */
	bool matches(std::string_view text) const;

private:
	struct Free {
		void operator()(regex_t *compiled) const
		{
			::regfree(compiled);
			delete compiled;
		}
	};

	std::unique_ptr<regex_t, Free> compiled_;
};

} // namespace zemctl
