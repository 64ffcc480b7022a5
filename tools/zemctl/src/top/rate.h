/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The number of records in each of the latest seconds. The times are those of the records, so that
 * a replay has the rates of the capture.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zemctl {

class RecordRate {
public:
	static constexpr std::size_t kSeconds = 60;

	void add(std::uint64_t time, std::uint64_t bytes);

	/* The records of each second up to @now, the oldest first. */
	std::array<std::uint64_t, kSeconds> history(std::uint64_t now) const;

	struct PerSecond {
		double records = 0;
		double bytes = 0;
	};
	/* The mean over the ten seconds up to @now, or over fewer since the first record. */
	PerSecond mean(std::uint64_t now) const;

private:
	struct Second {
		std::uint64_t number = 0; /* since the epoch */
		std::uint64_t records = 0;
		std::uint64_t bytes = 0;
	};

	const Second *find(std::uint64_t number) const;

	std::array<Second, kSeconds> seconds_ = {};
	std::uint64_t first_ = UINT64_MAX; /* the second of the first record */
};

} // namespace zemctl
