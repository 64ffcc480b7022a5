// SPDX-License-Identifier: GPL-2.0
/*
 * Writes JSON as text: strings, and what is not needed for most records.
 */
#include "text/json_writer.h"

#include <array>
#include <cmath>
#include <span>

#include <fmt/format.h>

#include "text/text.h"

namespace zemctl {

namespace {

constexpr auto kIsPlain = [] {
	std::array<bool, 256> plain = {};
	for (std::size_t byte = 0x20; byte < 0x7f; byte++)
		plain[byte] = byte != '"' && byte != '\\';
	return plain;
}();

} // namespace

/* Puts the first character of @bytes, which is not a plain one. Return: its size in @bytes. */
std::size_t JsonWriter::put_special(std::string_view bytes, Backslash backslash)
{
	const auto byte = static_cast<unsigned char>(bytes.front());
	const auto format = [this](fmt::string_view pattern, unsigned int value) {
		std::array<char, 8> text;
		const auto end = fmt::format_to(text.data(), fmt::runtime(pattern), value);
		text_.put(
			std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
		return std::size_t{1};
	};
	if (byte == '"') {
		text_.put("\\\"");
		return 1;
	}
	if (byte == '\\') {
		text_.put(backslash == Backslash::kTwice ? std::string_view("\\\\\\\\") : "\\\\");
		return 1;
	}
	if (byte < 0x80)
		return format("\\u{:04x}", byte);
	const auto character = decode_utf8(std::as_bytes(std::span(bytes)));
	if (!character)
		return format("\\\\x{:02x}", byte);
	/* The second set of control characters. Terminals interpret some of them. */
	if (character->code < 0xa0) {
		format("\\u{:04x}", static_cast<unsigned int>(character->code));
		return character->size;
	}
	text_.put(bytes.substr(0, character->size));
	return character->size;
}

void JsonWriter::put_string(std::string_view bytes, Backslash backslash)
{
	text_.put('"');
	while (!bytes.empty()) {
		std::size_t plain = 0;
		while (plain < bytes.size() && kIsPlain[static_cast<unsigned char>(bytes[plain])])
			plain++;
		text_.put(bytes.substr(0, plain));
		bytes.remove_prefix(plain);
		if (!bytes.empty())
			bytes.remove_prefix(put_special(bytes, backslash));
	}
	text_.put("\",");
}

void JsonWriter::name(std::string_view bytes)
{
	put_string(bytes, Backslash::kTwice);
}

void JsonWriter::text(std::string_view utf8)
{
	put_string(utf8, Backslash::kOnce);
}

void JsonWriter::signed_count(std::int64_t value)
{
	constexpr auto kLargest = static_cast<std::int64_t>(kJsonLargest);
	if (value > kLargest || value < -kLargest)
		return null();
	text_.number(value).put(',');
}

void JsonWriter::rate(double value)
{
	if (!std::isfinite(value))
		return null();
	text_.put(fmt::format("{:.3f},", value));
}

void JsonWriter::hex(Bytes bytes)
{
	text_.put('"');
	write_hex(bytes, text_.room(2 * bytes.size()));
	text_.add(2 * bytes.size());
	text_.put("\",");
}

} // namespace zemctl
