// SPDX-License-Identifier: GPL-2.0
/*
 * A regular expression.
 */
#include "text/pattern.h"

#include <array>

#include <fmt/format.h>

#include "base/errors.h"
#include "text/text.h"

namespace zemctl {

Pattern::Pattern(const std::string &expression)
{
	auto compiled = std::make_unique<regex_t>();
	const int error = ::regcomp(compiled.get(), expression.c_str(),
				    REG_EXTENDED | REG_NEWLINE | REG_NOSUB);
	if (error != 0) {
		std::array<char, 128> reason = {};
		::regerror(error, compiled.get(), reason.data(), reason.size());
		throw usage_failure(
			fmt::format("{}: not a pattern: {}", escaped(expression), reason.data()));
	}
	compiled_.reset(compiled.release());
}

bool Pattern::matches(std::string_view text) const
{
	/* With REG_STARTEND the text needs no zero at its end. */
	regmatch_t range = {0, static_cast<regoff_t>(text.size())};
	/* NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage) */
	return ::regexec(compiled_.get(), text.data(), 1, &range, REG_STARTEND) == 0;
}

} // namespace zemctl
