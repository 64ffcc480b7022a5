/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Adds up the differences of records.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "decode/health.h"
#include "metrics/writer.h"

namespace zemctl {

/*
 * Adds differences to sums. The difference of sums that were reset in between has no meaning: it is
 * skipped and counted.
 */
class Adder {
public:
	explicit Adder(std::uint64_t &skipped) : skipped_(skipped) {}

	void add(std::uint64_t &sum, std::uint64_t difference)
	{
		if (has_wrapped(difference))
			skipped_++;
		else
			sum += difference;
	}

private:
	std::uint64_t &skipped_;
};

template <std::size_t buckets>
struct HistogramSums {
	std::uint64_t counts[buckets] = {};
	std::uint64_t sum = 0; /* ns */

	void add(const std::uint32_t (&differences)[buckets], std::uint64_t time, Adder &adder)
	{
		for (std::size_t i = 0; i < buckets; i++)
			counts[i] += differences[i];
		adder.add(sum, time);
	}
	HistogramValues values(std::span<const std::uint32_t, buckets - 1> bounds) const
	{
		return {bounds, counts, sum};
	}
};

} // namespace zemctl
