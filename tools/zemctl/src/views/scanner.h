/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Scans the texts of the module piece by piece.
 */
#pragma once

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace zemctl {

/* Thrown if a piece is missing. The parsers convert it to a Failure. */
struct ScanFault {
	std::string what;
	std::string_view rest; /* the text from the position of the missing piece */
};

class Scanner {
public:
	/* kSkipped: blanks and line ends before a piece are skipped. */
	enum class Blanks { kSkipped, kKept };

	explicit Scanner(std::string_view text, Blanks blanks = Blanks::kSkipped)
		: rest_(text), blanks_(blanks)
	{
	}

	bool is_at_end();
	std::string_view rest() const { return rest_; }
	Scanner &skip(std::size_t size);
	/* Skips the rest of the line including its line end. */
	Scanner &skip_line();

	Scanner &word(std::string_view literal);

	template <typename Number>
	Scanner &number(Number &value)
	{
		skip_blanks();
		const auto parsed =
			std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
		if (parsed.ec != std::errc())
			fail("a number is missing");
		return skip(static_cast<std::size_t>(parsed.ptr - rest_.data()));
	}

	/* Scans an unsigned counter that the kernel prints as a signed number. */
	template <typename Number>
	Scanner &counter(Number &value)
	{
		long long parsed = 0;
		number(parsed);
		value = static_cast<Number>(parsed);
		return *this;
	}

	/* Scans counters with optional commas after them. */
	template <typename Number, std::size_t size>
	Scanner &counters(Number (&values)[size])
	{
		for (Number &value : values) {
			counter(value);
			if (rest_.starts_with(','))
				skip(1);
		}
		return *this;
	}

	/*
	 * Scans a name up to @follower: a task may choose a name with blanks and line ends. Copies
	 * what fits to @field, and leaves the last byte of @field unchanged.
	 */
	template <std::size_t size>
	Scanner &name(char (&field)[size], std::string_view follower)
	{
		take_name(follower).copy(field, size - 1);
		return *this;
	}

	/* Skips a label and its colon in this line. */
	Scanner &label();

	[[noreturn]] void fail(std::string what) const;

private:
	void skip_blanks();
	std::string_view take_name(std::string_view follower);

	std::string_view rest_;
	Blanks blanks_;
};

} // namespace zemctl
