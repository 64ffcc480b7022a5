// SPDX-License-Identifier: GPL-2.0
/*
 * Compresses and expands the content of one block with zstd.
 */
#include "records/compression.h"

#include <new>

#include <zstd.h>

namespace zemctl {

namespace {
/* The level with which zstd's own program compresses. */
constexpr int kLevel = 3;
} // namespace

struct BlockCompressor::Context {
	struct Free {
		void operator()(ZSTD_CCtx *context) const { ZSTD_freeCCtx(context); }
	};
	std::unique_ptr<ZSTD_CCtx, Free> zstd{ZSTD_createCCtx()};
};

struct BlockExpander::Context {
	struct Free {
		void operator()(ZSTD_DCtx *context) const { ZSTD_freeDCtx(context); }
	};
	std::unique_ptr<ZSTD_DCtx, Free> zstd{ZSTD_createDCtx()};
};

BlockCompressor::BlockCompressor() : context_(std::make_unique<Context>())
{
	if (!context_->zstd)
		throw std::bad_alloc();
}

BlockCompressor::~BlockCompressor() = default;

bool BlockCompressor::append_compressed(Bytes content, std::vector<std::byte> &to)
{
	const std::size_t before = to.size();
	to.resize(before + ZSTD_compressBound(content.size()));
	const std::size_t size = ZSTD_compressCCtx(context_->zstd.get(), to.data() + before,
						   to.size() - before, content.data(),
						   content.size(), kLevel);
	const bool is_smaller = ZSTD_isError(size) == 0 && size < content.size();
	to.resize(before + (is_smaller ? size : 0));
	return is_smaller;
}

BlockExpander::BlockExpander() : context_(std::make_unique<Context>())
{
	if (!context_->zstd)
		throw std::bad_alloc();
}

BlockExpander::~BlockExpander() = default;

bool BlockExpander::expand(Bytes stored, std::size_t size, std::vector<std::byte> &to)
{
	to.resize(size);
	const std::size_t got = ZSTD_decompressDCtx(context_->zstd.get(), to.data(), size,
						    stored.data(), stored.size());
	return ZSTD_isError(got) == 0 && got == size;
}

} // namespace zemctl
