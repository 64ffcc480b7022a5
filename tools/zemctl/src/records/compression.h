/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Compresses and expands the content of one block with zstd.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/bytes.h"

namespace zemctl {

class BlockCompressor {
public:
	BlockCompressor();
	~BlockCompressor();

	/*
	 * Appends the compressed @content to @to. Return: false, with @to unchanged, if that would
	 * not be smaller.
	 */
	bool append_compressed(Bytes content, std::vector<std::byte> &to);

private:
	struct Context;
	std::unique_ptr<Context> context_;
};

class BlockExpander {
public:
	BlockExpander();
	~BlockExpander();

	/* Return: whether @stored expands to exactly @size bytes, which are then in @to. */
	bool expand(Bytes stored, std::size_t size, std::vector<std::byte> &to);

private:
	struct Context;
	std::unique_ptr<Context> context_;
};

} // namespace zemctl
