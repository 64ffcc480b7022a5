/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes JSON objects, one a line, directly as text. All JSON of zemctl is written here, so all of
 * it keeps the rules of docs/json.md:
 *
 *	count()    a number, or null above 2^53 - 1: such a difference was below zero
 *	decimal()  a string of decimal digits, for 64-bit values that really exceed 2^53 - 1
 *	name()     a string of any bytes, with \xNN for a byte that is not UTF-8
 */
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/bytes.h"
#include "text/text_buffer.h"

namespace zemctl {

/* The largest integer up to which a double holds every integer. */
inline constexpr std::uint64_t kJsonLargest = (std::uint64_t{1} << 53) - 1;

/* Integers that always fit into a JSON number. */
template <typename Number>
concept SmallInteger = std::integral<Number> && sizeof(Number) <= sizeof(std::uint32_t);

class JsonWriter {
public:
	/* Ends the line. Return: the text since the last call; valid until the next value. */
	std::string_view take_line()
	{
		text_.drop(',');
		text_.put('\n');
		const std::string_view line = text_.view();
		text_.clear();
		return line;
	}

	void begin_object() { text_.put('{'); }
	void end_object() { end('}'); }
	void begin_array() { text_.put('['); }
	void end_array() { end(']'); }

	/* The key is a literal or a name of a table, which need no escapes. */
	template <std::size_t size>
	void key(const char (&literal)[size])
	{
		text_.put('"').put(literal).put("\":");
	}
	void key(std::string_view member) { text_.put('"').put(member).put("\":"); }

	/* Elements of an array. With a key in front of them, members of an object. */
	template <SmallInteger Number>
	void number(Number value)
	{
		text_.number(value).put(',');
	}
	void boolean(bool value) { text_.put(value ? std::string_view("true,") : "false,"); }
	void null() { text_.put("null,"); }
	void count(std::uint64_t value)
	{
		if (value > kJsonLargest)
			return null();
		text_.number(value).put(',');
	}
	void count(std::optional<std::uint64_t> value) { value ? count(*value) : null(); }
	void signed_count(std::int64_t value);
	void decimal(std::uint64_t value) { text_.put('"').number(value).put("\","); }
	void rate(double value); /* with three decimals */
	/* Bytes that may be anything. A backslash becomes two, so that \xNN is unambiguous. */
	void name(std::string_view bytes);
	/* Well-formed UTF-8, unchanged. */
	void text(std::string_view utf8);
	void hex(Bytes bytes);
	template <typename Numbers>
	void counts(const Numbers &values)
	{
		begin_array();
		for (const auto value : values)
			count(std::uint64_t{value});
		end_array();
	}

	/* Members of an object. */
	template <std::size_t size, SmallInteger Number>
	void number(const char (&literal)[size], Number value)
	{
		key(literal);
		number(value);
	}
	template <std::size_t size>
	void boolean(const char (&literal)[size], bool value)
	{
		key(literal);
		boolean(value);
	}
	template <std::size_t size>
	void count(const char (&literal)[size], std::optional<std::uint64_t> value)
	{
		key(literal);
		count(value);
	}
	template <std::size_t size>
	void signed_count(const char (&literal)[size], std::int64_t value)
	{
		key(literal);
		signed_count(value);
	}
	template <std::size_t size>
	void decimal(const char (&literal)[size], std::uint64_t value)
	{
		key(literal);
		decimal(value);
	}
	template <std::size_t size>
	void rate(const char (&literal)[size], double value)
	{
		key(literal);
		rate(value);
	}
	template <std::size_t size>
	void name(const char (&literal)[size], std::string_view value)
	{
		key(literal);
		name(value);
	}
	template <std::size_t size>
	void text(const char (&literal)[size], std::string_view value)
	{
		key(literal);
		text(value);
	}
	/* As name(), but null for "". */
	template <std::size_t size>
	void name_or_null(const char (&literal)[size], std::string_view value)
	{
		key(literal);
		value.empty() ? null() : name(value);
	}
	/* Two pieces of text that need no escapes. */
	template <std::size_t size>
	void plain_text(const char (&literal)[size], std::string_view value,
			std::string_view more = {})
	{
		key(literal);
		text_.put('"').put(value).put(more).put("\",");
	}
	template <std::size_t size, typename Numbers>
	void counts(const char (&literal)[size], const Numbers &values)
	{
		key(literal);
		counts(values);
	}
	template <std::size_t size>
	void hex(const char (&literal)[size], Bytes bytes)
	{
		key(literal);
		hex(bytes);
	}
	template <std::size_t size>
	void begin_object(const char (&literal)[size])
	{
		key(literal);
		begin_object();
	}
	template <std::size_t size>
	void begin_array(const char (&literal)[size])
	{
		key(literal);
		begin_array();
	}

private:
	enum class Backslash { kOnce, kTwice };

	void end(char bracket)
	{
		/* Every value leaves a comma behind it. */
		text_.drop(',');
		text_.put(bracket).put(',');
	}
	void put_string(std::string_view bytes, Backslash backslash);
	std::size_t put_special(std::string_view bytes, Backslash backslash);

	TextBuffer text_;
};

} // namespace zemctl
