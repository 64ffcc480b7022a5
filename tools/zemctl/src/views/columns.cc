// SPDX-License-Identifier: GPL-2.0
/*
 * Splits lines of left-aligned columns. From the last column to the first, the splitter counts the
 * ways to read the rest of the line from each position, so that the time does not depend on the
 * width of the numbers.
 */
#include "views/columns.h"

#include <algorithm>
#include <cstdint>

#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::size_t kDigitsMax = 20;

bool is_number(std::string_view word)
{
	if (word.starts_with('-'))
		return !word.starts_with("-0") && parse_number<std::int64_t>(word);
	return (word == "0" || !word.starts_with('0')) && parse_number<std::uint64_t>(word);
}

/*
 * Returns how many characters a column of @width takes with a number of @size digits at the start
 * of
 * @text, or 0 if @text does not start with such a column.
 */
std::size_t column_size(std::string_view text, std::size_t size, std::size_t width)
{
	if (!is_number(text.substr(0, size)))
		return 0;
	/* Blanks fill the column. A number that is as wide as the column has none. */
	const std::size_t whole = std::max(size, width);
	if (whole > text.size() ||
	    text.substr(size, whole - size).find_first_not_of(' ') != std::string_view::npos)
		return 0;
	return whole;
}

class ColumnSplitter {
public:
	ColumnSplitter(std::string_view line, std::span<const std::size_t> widths)
		: line_(line), widths_(widths), sizes_(widths.size()), ways_(line.size() + 1)
	{
		ways_.back() = 1;
		for (std::size_t column = widths.size(); column-- > 0;)
			prepend(column);
	}

	std::vector<std::string_view> numbers() const
	{
		std::vector<std::string_view> result;
		if (ways_.front() != 1)
			return result;
		std::size_t start = 0;
		for (std::size_t column = 0; column < widths_.size(); column++) {
			const std::size_t size = sizes_[column][start];
			result.push_back(line_.substr(start, size));
			start += std::max(size, widths_[column]);
		}
		return result;
	}

private:
	/* From the ways to read the columns after @column, counts the ways with @column. */
	void prepend(std::size_t column)
	{
		std::vector<unsigned int> ways(ways_.size());
		sizes_[column].resize(ways_.size());
		for (std::size_t start = 0; start < line_.size(); start++) {
			const std::size_t blank = std::min(line_.find(' ', start), line_.size());
			const std::size_t digits = std::min(blank - start, kDigitsMax);
			for (std::size_t size = 1; size <= digits; size++) {
				const std::size_t whole =
					column_size(line_.substr(start), size, widths_[column]);
				if (whole == 0 || ways_[start + whole] == 0)
					continue;
				sizes_[column][start] = size;
				/* Two ways are as ambiguous as more. */
				ways[start] = std::min(ways[start] + ways_[start + whole], 2U);
			}
		}
		ways_ = std::move(ways);
	}

	std::string_view line_;
	std::span<const std::size_t> widths_;
	/* By column and position: the digits of the number, valid if there is one way. */
	std::vector<std::vector<std::size_t>> sizes_;
	std::vector<unsigned int> ways_; /* by position */
};

} // namespace

std::vector<std::string_view> split_columns(std::string_view line,
					    std::span<const std::size_t> widths)
{
	return ColumnSplitter(line, widths).numbers();
}

} // namespace zemctl
