/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Series of tasks or users. Their number is bounded: the heaviest tasks or users have a series
 * each, and all others share one.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "metrics/writer.h"

namespace zemctl {

template <typename Values>
class TopSeries {
public:
	struct Series {
		Values values = {};
		std::uint64_t created = 0;
		std::uint64_t weight = 0;
	};

	/* @limit is above 0. @shared are the labels of the shared series. */
	TopSeries(std::size_t limit, Labels shared) : limit_(limit), shared_(std::move(shared)) {}

	/*
	 * Returns the values that what @labels name adds to. If all series are taken, it gets that
	 * of the lightest one if @weight is higher, which ends that series. The weights of the past
	 * count less and less. @time is in ns since the epoch.
	 */
	Values &at(const Labels &labels, std::uint64_t weight, std::uint64_t time)
	{
		age(time);
		if (labels == shared_)
			return other_;
		const auto found = series_.find(labels);
		if (found != series_.end()) {
			found->second.weight += weight;
			return found->second.values;
		}
		if (series_.size() >= limit_ && !end_one_below(weight))
			return other_;
		return series_.emplace(labels, Series{{}, time, weight}).first->second.values;
	}

	const std::map<Labels, Series> &series() const { return series_; }
	const Values &other() const { return other_; }

	/* Calls @visit with the labels, the values and the start of each series. */
	template <typename Visit>
	void for_each(std::uint64_t start, const Visit &visit) const
	{
		for (const auto &[labels, series] : series_)
			visit(labels, series.values, std::max(series.created, start));
		visit(shared_, other_, start);
	}

private:
	static constexpr std::uint64_t kHalfLife = 60'000'000'000;

	void age(std::uint64_t time)
	{
		if (aged_ == 0 || time < aged_)
			aged_ = time;
		const std::uint64_t halvings = (time - aged_) / kHalfLife;
		if (halvings == 0)
			return;
		aged_ += halvings * kHalfLife;
		for (auto &[labels, series] : series_)
			series.weight = halvings < 64 ? series.weight >> halvings : 0;
	}

	bool end_one_below(std::uint64_t weight)
	{
		const auto lightest = std::ranges::min_element(series_, {}, [](const auto &entry) {
			return entry.second.weight;
		});
		if (lightest->second.weight >= weight)
			return false;
		series_.erase(lightest);
		return true;
	}

	std::size_t limit_;
	Labels shared_;
	std::map<Labels, Series> series_;
	Values other_ = {};
	std::uint64_t aged_ = 0;
};

} // namespace zemctl
