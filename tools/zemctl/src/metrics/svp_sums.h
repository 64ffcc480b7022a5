/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The counters of the svp records: those of the heaviest tasks, and some of all tasks together.
 */
#pragma once

#include <linux/zem.h>

#include "decode/svp.h"
#include "metrics/sums.h"
#include "metrics/top_series.h"

namespace zemctl {

class SvpSums {
public:
	/* The number of names of tasks with series of their own. */
	static constexpr std::size_t kTasks = 20;

	SvpSums();

	void add(const zem_svp &svp, std::uint64_t time, Adder &adder);
	void write(MetricWriter &writer, std::uint64_t start) const;

private:
	static constexpr std::size_t kDirections = 2; /* read, write */

	struct Task {
		HistogramSums<4> runtime, run_delay, d_state;
		std::uint64_t iowait = 0, iowaits = 0, long_ui_iowaits = 0;
		std::uint64_t coldstart = 0, coldstart_waits = 0;
		std::uint64_t call_bytes[kDirections] = {}, calls[kDirections] = {};
		std::uint64_t bio_bytes[kDirections] = {}, bio_time[kDirections] = {};
		std::uint64_t bios[kDirections] = {};
	};

	template <typename Value>
	void write_tasks(MetricWriter &writer, Metric metric, std::uint64_t start,
			 const Value &value) const;
	template <typename Value>
	void write_directions(MetricWriter &writer, Metric metric, std::uint64_t start,
			      const Value &values) const;
	void write_waits(MetricWriter &writer, std::uint64_t start) const;

	TopSeries<Task> tasks_;
	std::uint64_t memory_[kSvpMemoryRows.size()][ZEM_LATENCY_BUCKETS] = {};
	std::uint64_t iowaits_[ZEM_LATENCY_BUCKETS] = {};
	std::uint64_t failures_[ZEM_ALLOC_ORDERS] = {};
};

} // namespace zemctl
