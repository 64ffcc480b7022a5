/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The load of CPUs and processes.
 */
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>

#include <linux/zem.h>

#include "metrics/sums.h"
#include "metrics/top_series.h"

namespace zemctl {

class LoadSums {
public:
	/* The number of names of processes with series of their own. */
	static constexpr std::size_t kProcesses = 50;
	/* The names of one interval that are remembered until the heaviest are known. */
	static constexpr std::size_t kNames = 2048;
	static constexpr std::size_t kCpus = 8;

	LoadSums();

	void add(const zem_cpu &cpu);
	void add(const zem_load &load, std::uint64_t time, Adder &adder);
	void write(MetricWriter &writer, std::uint64_t start) const;

private:
	void add_usage(const Labels &labels, std::uint64_t usage, std::uint64_t time);
	void write_usage(MetricWriter &writer) const;

	std::array<std::optional<zem_cpu>, kCpus> cpus_;
	std::uint64_t runtime_ = 0; /* ns, of all records */
	TopSeries<std::uint64_t> runtimes_;
	/* The usage of the latest interval. */
	std::uint64_t pass_ = 0; /* when its first record was pushed */
	std::map<Labels, std::uint64_t> usage_;
	std::uint64_t other_usage_ = 0;
};

} // namespace zemctl
