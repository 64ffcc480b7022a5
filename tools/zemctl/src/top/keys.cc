// SPDX-License-Identifier: GPL-2.0
/*
 * Finds keys in the bytes that a terminal sends.
 */
#include "top/keys.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace zemctl {

namespace {

constexpr char kEscapeByte = '\x1b';
/* No key has a longer sequence. */
constexpr std::size_t kSequenceMax = 32;

struct Sequence {
	std::string_view bytes; /* after ESC [ or ESC O */
	KeyKind kind;
};

constexpr std::array kSequences = {
	Sequence{"A", KeyKind::kUp},	  Sequence{"B", KeyKind::kDown},
	Sequence{"H", KeyKind::kHome},	  Sequence{"F", KeyKind::kEnd},
	Sequence{"1~", KeyKind::kHome},	  Sequence{"4~", KeyKind::kEnd},
	Sequence{"7~", KeyKind::kHome},	  Sequence{"8~", KeyKind::kEnd},
	Sequence{"5~", KeyKind::kPageUp}, Sequence{"6~", KeyKind::kPageDown},
};

Key key_of_byte(char byte)
{
	switch (byte) {
	case '\r':
	case '\n':
		return {KeyKind::kEnter};
	case '\x7f':
	case '\b':
		return {KeyKind::kBackspace};
	default:
		return static_cast<unsigned char>(byte) < ' ' ? Key{KeyKind::kUnknown} :
								Key{KeyKind::kCharacter, byte};
	}
}

/* The last byte of a sequence is a letter or ~, the bytes before it are digits and signs. */
bool is_last(char byte)
{
	return byte >= '@' && byte <= '~';
}

/* Returns the key of @sequence, which starts with an escape, or nothing if it is not complete. */
std::optional<Key> key_of_sequence(std::string_view sequence)
{
	if (sequence.size() < 2)
		return std::nullopt;
	if (sequence[1] != '[' && sequence[1] != 'O')
		return Key{KeyKind::kUnknown};
	if (sequence.size() < 3)
		return std::nullopt;
	if (!is_last(sequence.back()))
		return sequence.size() < kSequenceMax ? std::nullopt :
							std::optional(Key{KeyKind::kUnknown});
	const auto found = std::ranges::find(kSequences, sequence.substr(2), &Sequence::bytes);
	return Key{found == kSequences.end() ? KeyKind::kUnknown : found->kind};
}

} // namespace

std::vector<Key> KeyDecoder::decode(std::string_view bytes)
{
	std::vector<Key> keys;
	for (const char byte : bytes) {
		/* An escape after an escape: the first one was a key. */
		if (byte == kEscapeByte && !pending_.empty()) {
			keys.push_back(
				{pending_.size() == 1 ? KeyKind::kEscape : KeyKind::kUnknown});
			pending_.clear();
		}
		if (pending_.empty() && byte != kEscapeByte) {
			keys.push_back(key_of_byte(byte));
			continue;
		}
		pending_ += byte;
		if (const auto key = key_of_sequence(pending_)) {
			keys.push_back(*key);
			pending_.clear();
		}
	}
	return keys;
}

std::vector<Key> KeyDecoder::timeout()
{
	if (pending_.empty())
		return {};
	const Key key = {pending_.size() == 1 ? KeyKind::kEscape : KeyKind::kUnknown};
	pending_.clear();
	return {key};
}

} // namespace zemctl
