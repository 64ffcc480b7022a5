/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The latest records of a kind: the last one, or all of one pass of the collector.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "records/pass.h"

namespace zemctl {

/* Whether more records of the latest pass may follow. */
enum class StreamState : std::uint8_t { kContinues, kEnded };

/* When a pass began, and how long after the one before it. */
struct PassTimes {
	std::uint64_t begin = 0; /* ns since the epoch */
	std::optional<std::uint64_t> period = std::nullopt; /* ns; none for the first pass */
};

template <typename Content>
struct Pass {
	PassTimes times = {};
	Content content = {};
};

/* The latest record of a kind that has one record in each pass. */
template <typename Content>
class Latest {
public:
	void set(std::uint64_t time, Content content)
	{
		PassTimes times = {time};
		if (pass_ && time > pass_->times.begin)
			times.period = time - pass_->times.begin;
		pass_ = {times, std::move(content)};
	}
	/* Returns null before the first record. */
	const Pass<Content> *get() const { return pass_ ? &*pass_ : nullptr; }

private:
	std::optional<Pass<Content>> pass_;
};

/*
 * The records of a kind that has many in each pass. A pass is shown when it is complete; until then
 * the pass before it is.
 */
template <typename Content>
class Passes {
public:
	/* Returns the content of the pass to which a record of @time belongs. */
	Content &at(std::uint64_t time)
	{
		if (!filling_ || is_of_other_pass(time, filling_->times.begin))
			begin(time);
		return filling_->content;
	}

	/* Returns the pass to show at @now, or null before the first record. */
	const Pass<Content> *shown(std::uint64_t now, StreamState state) const
	{
		if (!filling_)
			return nullptr;
		const bool is_complete = state == StreamState::kEnded ||
					 is_of_other_pass(now, filling_->times.begin);
		return is_complete || !complete_ ? &*filling_ : &*complete_;
	}

private:
	void begin(std::uint64_t time)
	{
		complete_ = std::move(filling_);
		filling_.emplace();
		filling_->times.begin = time;
		if (complete_ && time > complete_->times.begin)
			filling_->times.period = time - complete_->times.begin;
	}

	std::optional<Pass<Content>> filling_;
	std::optional<Pass<Content>> complete_;
};

} // namespace zemctl
