// SPDX-License-Identifier: GPL-2.0
/*
 * The number of records in each of the latest seconds.
 */
#include "top/rate.h"

#include <algorithm>

#include "text/timestamp.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kMeanSeconds = 10;

} // namespace

void RecordRate::add(std::uint64_t time, std::uint64_t bytes)
{
	const std::uint64_t number = time / kSecondNs;
	first_ = std::min(first_, number);
	Second &second = seconds_[number % kSeconds];
	/* A record that is a minute older than the latest ones is in no second. */
	if (number < second.number)
		return;
	if (number > second.number)
		second = {number, 0, 0};
	second.records++;
	second.bytes += bytes;
}

const RecordRate::Second *RecordRate::find(std::uint64_t number) const
{
	const Second &second = seconds_[number % kSeconds];
	return second.number == number ? &second : nullptr;
}

std::array<std::uint64_t, RecordRate::kSeconds> RecordRate::history(std::uint64_t now) const
{
	std::array<std::uint64_t, kSeconds> history = {};
	const std::uint64_t last = now / kSecondNs;
	for (std::uint64_t age = 0; age < kSeconds && age <= last; age++) {
		if (const Second *second = find(last - age))
			history[kSeconds - 1 - age] = second->records;
	}
	return history;
}

RecordRate::PerSecond RecordRate::mean(std::uint64_t now) const
{
	const std::uint64_t last = now / kSecondNs;
	if (first_ > last)
		return {};
	const std::uint64_t length = std::min(kMeanSeconds, last - first_ + 1);
	PerSecond mean;
	for (std::uint64_t age = 0; age < length; age++) {
		if (const Second *second = find(last - age)) {
			mean.records += static_cast<double>(second->records);
			mean.bytes += static_cast<double>(second->bytes);
		}
	}
	mean.records /= static_cast<double>(length);
	mean.bytes /= static_cast<double>(length);
	return mean;
}

} // namespace zemctl
