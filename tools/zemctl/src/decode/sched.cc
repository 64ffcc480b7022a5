// SPDX-License-Identifier: GPL-2.0
/*
 * sched: the increase of the four scheduler histograms since the previous record.
 */
#include "decode/decoder.h"

#include <iterator>
#include <numeric>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/histogram.h"

namespace zemctl {

namespace sched {

static constexpr std::uint64_t kTimeUnit = 1024; /* ns */

static std::string count_and_time(const zem_sched_block &block)
{
	const std::uint64_t count =
		std::accumulate(std::begin(block.counts), std::end(block.counts), std::uint64_t{});
	return fmt::format("{} in {}", count, format_milliseconds(block.total_time * kTimeUnit));
}

static std::string line(Bytes payload)
{
	const auto sched = copy_payload<zem_sched>(payload);
	std::string result;
	for (const SchedHistogram &histogram : kSchedHistograms)
		fmt::format_to(std::back_inserter(result), "{}{} {}", result.empty() ? "" : ", ",
			       histogram.verb, count_and_time(sched.*histogram.block));
	return result;
}

static std::string full(Bytes payload)
{
	const auto sched = copy_payload<zem_sched>(payload);
	std::string result;
	auto out = std::back_inserter(result);
	for (const SchedHistogram &histogram : kSchedHistograms) {
		const zem_sched_block &block = sched.*histogram.block;
		fmt::format_to(out, "{}: {}\n  {}\n ", histogram.title, count_and_time(block),
			       format_counts(histogram.bounds, block.counts, histogram.unit));
		for (std::size_t cpu = 0; cpu < ZEM_SCHED_CPUS; cpu++)
			fmt::format_to(out, "{} cpu{} {}", cpu == 0 ? "" : ",", cpu,
				       format_milliseconds(block.cpu_time[cpu] * kTimeUnit));
		result += '\n';
	}
	return result;
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto sched = copy_payload<zem_sched>(payload);
	nlohmann::ordered_json object = {{"time_unit_ns", kTimeUnit}};
	for (const SchedHistogram &histogram : kSchedHistograms) {
		const zem_sched_block &block = sched.*histogram.block;
		object[std::string(histogram.name)] = {
			{"bounds_us", histogram.bounds},
			{"counts", block.counts},
			{"cpu_time", block.cpu_time},
			{"total_time", block.total_time},
		};
	}
	return object;
}

} // namespace sched

const Decoder kSchedDecoder = {sizeof(zem_sched), sched::line, sched::full, sched::json};

} // namespace zemctl
