/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Text that grows at its end. The formats of records use it: it costs little more than a copy of
 * the characters.
 */
#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace zemctl {

class TextBuffer {
public:
	std::string_view view() const { return {storage_.data(), used_}; }
	void clear() { used_ = 0; }

	TextBuffer &put(char character)
	{
		*room(1) = character;
		used_++;
		return *this;
	}
	TextBuffer &put(std::string_view text)
	{
		used_ += text.copy(room(text.size()), text.size());
		return *this;
	}
	/* A literal has a constant size, so the copy needs no call. */
	template <std::size_t size>
	TextBuffer &put(const char (&literal)[size])
	{
		std::memcpy(room(size - 1), literal, size - 1);
		used_ += size - 1;
		return *this;
	}
	/* Puts decimal digits, right-aligned in @width columns. */
	template <std::integral Number>
	TextBuffer &number(Number value, std::size_t width = 0, char fill = ' ')
	{
		constexpr std::size_t kWidest = 20;
		char *to = room(kWidest + width);
		const auto size =
			static_cast<std::size_t>(std::to_chars(to, to + kWidest, value).ptr - to);
		used_ += size;
		if (size >= width)
			return *this;
		std::memmove(to + width - size, to, size);
		std::memset(to, fill, width - size);
		used_ += width - size;
		return *this;
	}
	/* Puts @text, left-aligned in @width columns. */
	TextBuffer &padded(std::string_view text, std::size_t width)
	{
		put(text);
		for (std::size_t column = text.size(); column < width; column++)
			put(' ');
		return *this;
	}

	/* Returns where the next @size bytes belong. They count after add(). */
	char *room(std::size_t size)
	{
		if (storage_.size() - used_ < size) [[unlikely]]
			grow(size);
		return storage_.data() + used_;
	}
	void add(std::size_t size) { used_ += size; }
	/* Removes the last character if it is @character. */
	void drop(char character)
	{
		if (used_ > 0 && storage_[used_ - 1] == character)
			used_--;
	}

private:
	/* Not inline, so that room() is. */
	[[gnu::noinline]] void grow(std::size_t size)
	{
		storage_.resize(2 * (storage_.size() + size));
	}

	std::string storage_;
	std::size_t used_ = 0;
};

} // namespace zemctl
