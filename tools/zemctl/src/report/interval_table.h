/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Values of things over time: a row for each interval, and in it the values of each thing that had
 * a record. The number of rows is bounded: when there are too many, two neighbours become one.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "records/pass.h"

namespace zemctl {

template <std::size_t columns>
class IntervalTable {
public:
	using Values = std::array<std::uint64_t, columns>;
	struct Row {
		std::uint64_t time; /* of the first record, in ns since the epoch */
		std::uint64_t intervals; /* how many were merged */
		std::map<std::uint32_t, Values> values; /* sums over the merged intervals */
	};

	/* Records whose times are at most @span ns apart are of one interval. */
	explicit IntervalTable(std::uint64_t span = 500'000'000) : span_(span) {}

	void add(std::uint64_t time, std::uint32_t thing, const Values &values)
	{
		if (rows_.empty() || is_of_other_pass(time, begin_, span_))
			begin_row(time);
		Values &sums = rows_.back().values[thing];
		for (std::size_t i = 0; i < columns; i++)
			sums[i] += values[i];
	}
	const std::vector<Row> &rows() const { return rows_; }
	/* Returns the sums of each thing over all rows. */
	std::map<std::uint32_t, Values> totals() const
	{
		std::map<std::uint32_t, Values> totals;
		for (const Row &row : rows_) {
			for (const auto &[thing, values] : row.values) {
				Values &sums = totals[thing];
				for (std::size_t i = 0; i < columns; i++)
					sums[i] += values[i];
			}
		}
		return totals;
	}

private:
	static constexpr std::size_t kRowsMax = 1200;

	void begin_row(std::uint64_t time)
	{
		begin_ = time;
		if (!rows_.empty() && rows_.back().intervals < merged_) {
			rows_.back().intervals++;
			return;
		}
		if (rows_.size() == kRowsMax)
			halve();
		rows_.push_back({time, 1, {}});
	}
	void halve()
	{
		merged_ *= 2;
		for (std::size_t i = 0; i < rows_.size() / 2; i++) {
			Row row = std::move(rows_[2 * i]);
			const Row &next = rows_[2 * i + 1];
			row.intervals += next.intervals;
			for (const auto &[thing, values] : next.values) {
				Values &sums = row.values[thing];
				for (std::size_t column = 0; column < columns; column++)
					sums[column] += values[column];
			}
			rows_[i] = std::move(row);
		}
		rows_.resize(rows_.size() / 2);
	}

	std::uint64_t span_;
	std::vector<Row> rows_;
	std::uint64_t begin_ = 0; /* of the current interval */
	std::uint64_t merged_ = 1; /* intervals in a row */
};

} // namespace zemctl
