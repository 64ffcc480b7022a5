/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Finds keys in the bytes that a terminal sends. The sequences are those that all terminals of
 * today share: a phone has no database of terminals.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zemctl {

enum class KeyKind : std::uint8_t {
	kCharacter, /* or a byte of one that has several */
	kUp,
	kDown,
	kPageUp,
	kPageDown,
	kHome,
	kEnd,
	kEnter,
	kBackspace,
	kEscape,
	kHangup, /* the terminal is gone */
	kUnknown,
};

struct Key {
	KeyKind kind;
	char character = 0; /* of kCharacter */

	bool operator==(const Key &) const = default;
};

class KeyDecoder {
public:
	/* Returns the keys of @bytes and of the rest of the bytes before. */
	std::vector<Key> decode(std::string_view bytes);
	/* Called when no bytes follow for a while: an escape was the key, and starts no sequence.
	 */
	std::vector<Key> timeout();

private:
	std::string pending_; /* the start of a sequence */
};

} // namespace zemctl
