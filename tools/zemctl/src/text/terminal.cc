// SPDX-License-Identifier: GPL-2.0
/*
 * What the user's terminal can show. Only the name of the locale is read: few machines have its
 * data for a static program.
 */
#include "text/terminal.h"

#include <charconv>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/ioctl.h>

#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kUsualWidth = 80;

std::string_view environment(const char *name)
{
	const char *value = std::getenv(name);
	return value == nullptr ? std::string_view() : value;
}

} // namespace

std::size_t terminal_width(int fd)
{
	winsize size = {};
	if (::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
		return size.ws_col;
	const std::string_view columns = environment("COLUMNS");
	std::size_t width = 0;
	const auto parsed = std::from_chars(columns.data(), columns.data() + columns.size(), width);
	return parsed.ec == std::errc() && width > 0 && width <= 1000 ? width : kUsualWidth;
}

bool locale_is_utf8()
{
	for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
		const std::string locale = in_lower_case(environment(name));
		if (locale.empty())
			continue;
		return locale.find("utf-8") != std::string::npos ||
		       locale.find("utf8") != std::string::npos;
	}
	return true;
}

} // namespace zemctl
