/* SPDX-License-Identifier: GPL-2.0 */
/* The kernel log: every message with its level and exact text. Any thread. */
#pragma once

#include <cstddef>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace sim {

struct LogLine {
	int level;
	std::string text;

	bool operator==(const LogLine &) const = default;
};

inline LogLine crit(std::string text)
{
	return {2, std::move(text)};
}

inline LogLine err(std::string text)
{
	return {3, std::move(text)};
}

inline LogLine info(std::string text)
{
	return {6, std::move(text)};
}

std::ostream &operator<<(std::ostream &out, const LogLine &line);

class Log {
public:
	void add(LogLine line);

	/* Returns the lines since the last take(). */
	[[nodiscard]] std::vector<LogLine> take();

	/* Return: whether the next lines are @lines, which are then removed. */
	[[nodiscard]] bool take_first(const std::vector<LogLine> &lines);

	/* Return: whether the last line is @line and was not taken; it is then removed. */
	[[nodiscard]] bool drop_last(const LogLine &line);

	/* Returns the number of lines with that text in the whole run, taken or not. */
	[[nodiscard]] size_t count(const std::string &text);

private:
	std::mutex lock_;
	std::vector<LogLine> lines_;
	size_t taken_ = 0;
};

} /* namespace sim */
