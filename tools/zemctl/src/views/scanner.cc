// SPDX-License-Identifier: GPL-2.0
/*
 * Scans the texts of the module piece by piece.
 */
#include "views/scanner.h"

#include <algorithm>

#include <fmt/format.h>

namespace zemctl {

bool Scanner::is_at_end()
{
	skip_blanks();
	return rest_.empty();
}

Scanner &Scanner::skip(std::size_t size)
{
	rest_.remove_prefix(size);
	return *this;
}

Scanner &Scanner::skip_line()
{
	const std::size_t end = rest_.find('\n');
	return skip(end == std::string_view::npos ? rest_.size() : end + 1);
}

Scanner &Scanner::word(std::string_view literal)
{
	skip_blanks();
	if (!rest_.starts_with(literal))
		fail(fmt::format("\"{}\" is missing", literal));
	return skip(literal.size());
}

Scanner &Scanner::label()
{
	skip_blanks();
	const std::size_t end = rest_.substr(0, rest_.find('\n')).find(": ");
	if (end == std::string_view::npos)
		fail("a label is missing");
	return skip(end + 1);
}

void Scanner::fail(std::string what) const
{
	throw ScanFault{std::move(what), rest_};
}

void Scanner::skip_blanks()
{
	if (blanks_ == Blanks::kSkipped)
		skip(std::min(rest_.find_first_not_of(" \n"), rest_.size()));
}

std::string_view Scanner::take_name(std::string_view follower)
{
	if (rest_.starts_with(' '))
		skip(1);
	const std::size_t length = rest_.find(follower);
	if (length == std::string_view::npos)
		fail("a name has no end");
	const std::string_view name = rest_.substr(0, length);
	skip(length);
	return name;
}

} // namespace zemctl
