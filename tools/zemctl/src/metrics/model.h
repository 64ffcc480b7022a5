/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Accumulates records, which are differences, into the metrics of metrics/table.h. A gap costs what
 * it hides and no more: the counters go on from where they were. Its size is bounded.
 */
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <linux/zem.h>

#include "metrics/io_sums.h"
#include "metrics/load_sums.h"
#include "metrics/sched_sums.h"
#include "metrics/svp_sums.h"
#include "metrics/writer.h"
#include "records/marks.h"
#include "records/record.h"

namespace zemctl {

/* The number of records that are missing, by cause. */
struct MissingRecords {
	std::uint64_t kernel = 0;
	std::uint64_t recorder = 0;
	std::uint64_t capture = 0;
};

class MetricsModel {
public:
	/* @start is the time at which the counters are 0, in ns since the epoch. */
	explicit MetricsModel(std::uint64_t start) : start_(start) {}

	void add(const Record &record);
	void add_gaps(std::uint64_t gaps, std::uint64_t lost_bytes)
	{
		gaps_ += gaps, lost_bytes_ += lost_bytes;
	}
	void add_missing(const MissingRecords &missing);
	void set_module_counters(const ModuleCounters &counters) { module_ = counters; }

	/* The time of the latest record, or nothing before the first one. */
	std::optional<std::uint64_t> latest() const;

	/* Writes all families but those of the server. */
	void write(MetricWriter &writer) const;

private:
	static constexpr std::size_t kUsbEvents = 5; /* four kinds, and others */
	static constexpr std::size_t kZeroPages = 5;

	void add_payload(const Record &record, Adder &adder);
	void add(const zem_cgroup &groups, Adder &adder);
	void add(const zem_kzerod &totals);
	void add(const zem_usb &usb);
	void write_channels(MetricWriter &writer) const;
	void write_losses(MetricWriter &writer) const;
	void write_module(MetricWriter &writer) const;
	void write_groups(MetricWriter &writer) const;
	void write_events(MetricWriter &writer) const;

	struct Channel {
		std::uint64_t records = 0;
		std::uint64_t bytes = 0;
		std::uint64_t undecoded = 0;
		std::uint64_t latest = 0;
	};
	struct Group {
		std::uint64_t run_delay = 0;
		std::uint64_t d_state_io = 0;
		std::uint64_t d_state_other = 0;
	};

	std::uint64_t start_;
	std::array<Channel, ZEM_CHANNEL_COUNT> channels_ = {};
	std::uint64_t skipped_ = 0;
	std::uint64_t gaps_ = 0;
	std::uint64_t lost_bytes_ = 0;
	MissingRecords missing_;
	std::optional<ModuleCounters> module_;
	LoadSums load_;
	SchedSums sched_;
	SvpSums svp_;
	std::array<Group, ZEM_CGROUPS> groups_ = {};
	IoSums io_;
	std::array<std::optional<std::uint64_t>, kZeroPages> zero_pages_ = {};
	std::array<std::uint64_t, kUsbEvents> usb_ = {};
};

} // namespace zemctl
