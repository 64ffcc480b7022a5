// SPDX-License-Identifier: GPL-2.0
/*
 * sched: the increase of the four scheduler histograms since the previous record.
 */
#include "decode/decoder.h"

#include <iterator>
#include <numeric>

#include <fmt/format.h>

#include "decode/histogram.h"

namespace zemctl {

namespace sched {

static std::string count_and_time(const zem_sched_block &block)
{
	const std::uint64_t count =
		std::accumulate(std::begin(block.counts), std::end(block.counts), std::uint64_t{});
	return fmt::format("{} in {}", count,
			   format_milliseconds(block.total_time * kSchedTimeUnit));
}

static void line(Bytes payload, TextBuffer &out)
{
	const auto sched = copy_payload<zem_sched>(payload);
	std::string_view separator;
	for (const SchedHistogram &histogram : kSchedHistograms) {
		out.put(separator).put(histogram.verb).put(' ');
		out.put(count_and_time(sched.*histogram.block));
		separator = ", ";
	}
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
				       format_milliseconds(block.cpu_time[cpu] * kSchedTimeUnit));
		result += '\n';
	}
	return result;
}

static void json(Bytes payload, JsonWriter &json)
{
	const auto sched = copy_payload<zem_sched>(payload);
	for (const SchedHistogram &histogram : kSchedHistograms) {
		const zem_sched_block &block = sched.*histogram.block;
		json.key(histogram.name);
		json.begin_object();
		json.counts("counts", block.counts);
		json.begin_array("cpu_time_ns");
		for (const std::uint32_t time : block.cpu_time)
			json.count(time * kSchedTimeUnit);
		json.end_array();
		json.count("total_time_ns", block.total_time * kSchedTimeUnit);
		json.end_object();
	}
}

} // namespace sched

const Decoder kSchedDecoder = {sizeof(zem_sched), sched::line, sched::full, sched::json};

} // namespace zemctl
