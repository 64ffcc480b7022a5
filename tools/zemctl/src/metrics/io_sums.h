/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The IO of devices and users.
 */
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include <linux/zem.h>

#include "decode/io.h"
#include "metrics/sums.h"
#include "metrics/top_series.h"

namespace zemctl {

class IoSums {
public:
	/* The number of users with series of their own. */
	static constexpr std::size_t kUsers = 50;
	/* The number of users whose totals are remembered. */
	static constexpr std::size_t kUsersSeen = 2048;

	IoSums();

	void add(const zem_kio &kio, std::uint64_t time, Adder &adder);
	void write(MetricWriter &writer, std::uint64_t start) const;

private:
	/* frb, fwb, brb, bwb, fbc, bbc, iowait, swc, awc and read_calls. */
	static constexpr std::size_t kColumns = ZEM_IO_COLUMNS;
	static constexpr std::size_t kIowait = 6;
	static constexpr std::size_t kReadCalls = 9;
	using Columns = std::array<std::uint64_t, kColumns>;

	/* The totals of a user in the latest records, as far as they had them. */
	struct Seen {
		std::optional<Columns> columns;
		std::optional<std::uint64_t> iowait;
	};

	void add_devices(const zem_kio &kio, Adder &adder);
	void add_user(const zem_io_top &top, std::uint64_t time, Adder &adder);
	void add_user(const zem_iowait_top &top, std::uint64_t time, Adder &adder);
	void add_increase(std::uint32_t uid, const Columns &increase, std::uint64_t time,
			  Adder &adder);
	Seen *seen(std::uint32_t uid);
	void write_disks(MetricWriter &writer) const;
	void write_bios(MetricWriter &writer, std::uint64_t start) const;
	void write_users(MetricWriter &writer, std::uint64_t start) const;

	std::optional<std::array<zem_io_disk, ZEM_IO_DEVICES>> disks_; /* of the latest record */
	std::uint64_t latencies_[ZEM_IO_DEVICES][kIoClasses.size()][ZEM_IO_BUCKETS] = {};
	std::uint64_t page_time_[kIoClasses.size()] = {}; /* ns */
	std::uint64_t bios_[3] = {}, pages_[3] = {}; /* reads, sync and async writes */
	std::uint64_t states_[2] = {}; /* foreground, other */
	std::uint64_t sizes_[4] = {};
	TopSeries<Columns> users_;
	std::unordered_map<std::uint32_t, Seen> seen_;
};

} // namespace zemctl
