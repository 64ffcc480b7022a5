/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Scans the texts of the module, piece by piece.
 */
#pragma once

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace zemctl {

/* Thrown by a Scanner at a piece that is missing. The parsers turn it into a Failure. */
struct ScanFault {
	std::string what;
	std::string_view rest; /* the text from the missing piece on */
};

class Scanner {
public:
	/* kSkipped: any number of blanks and line ends, or none, may stand before a piece. */
	enum class Blanks { kSkipped, kKept };

	explicit Scanner(std::string_view text, Blanks blanks = Blanks::kSkipped)
		: rest_(text), blanks_(blanks)
	{
	}

	bool is_at_end();
	std::string_view rest() const { return rest_; }
	Scanner &skip(std::size_t size);
	/* Skips the rest of the line, the line end included. */
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

	/* A counter that the kernel prints as a signed number although it may wrap. */
	template <typename Number>
	Scanner &counter(Number &value)
	{
		long long parsed = 0;
		number(parsed);
		value = static_cast<Number>(parsed);
		return *this;
	}

	/* Counters, each with a comma behind it or none. */
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
	 * A name that a task chose, in a field that ends with a zero. Names may hold blanks and
	 * line ends: the name ends where @follower begins.
	 */
	template <std::size_t size>
	Scanner &name(char (&field)[size], std::string_view follower)
	{
		take_name(follower).copy(field, size - 1);
		return *this;
	}

	/* Skips a label and the colon behind it, in this line. */
	Scanner &label();

	[[noreturn]] void fail(std::string what) const;

private:
	void skip_blanks();
	std::string_view take_name(std::string_view follower);

	std::string_view rest_;
	Blanks blanks_;
};

} // namespace zemctl
