/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters whose set changes, such as those of the processes that ran in an interval. A counter
 * that a list of records does not have is 0 from then on: Perfetto would show its last value
 * forever.
 */
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "export/perfetto_trace.h"

namespace zemctl {

class ChangingList {
public:
	explicit ChangingList(PerfettoTrace &trace) : trace_(trace) {}

	/* Announces counters of a record. Records within half a second are of one list. */
	void at(std::uint64_t time)
	{
		constexpr std::uint64_t kLongest = 500'000'000;
		if (list_ > 0 && time >= begin_ && time - begin_ <= kLongest)
			return;
		close();
		begin_ = time;
		list_++;
	}
	template <typename Value>
	void count(TrackId track, std::uint64_t time, Value value)
	{
		counters_[track] = {list_, value != Value{}};
		trace_.count(track, time, value);
	}
	/* Ends the current list. */
	void close()
	{
		for (auto &[track, state] : counters_) {
			if (state.list == list_ || !state.is_set)
				continue;
			trace_.count(track, begin_, std::int64_t{0});
			state.is_set = false;
		}
	}

private:
	struct State {
		std::uint64_t list;
		bool is_set; /* not 0 */
	};

	PerfettoTrace &trace_;
	std::map<TrackId, State> counters_;
	std::uint64_t list_ = 0;
	std::uint64_t begin_ = 0;
};

} // namespace zemctl
