// SPDX-License-Identifier: GPL-2.0
/*
 * What was read, in a few lines.
 */
#include "summary.h"

#include <iterator>

#include <fmt/format.h>

#include "channels.h"

namespace zemctl {

std::string format_summary(const Counters &counters, std::uint64_t kept,
			   std::chrono::nanoseconds elapsed)
{
	const double seconds = std::chrono::duration<double>(elapsed).count();
	std::string text = fmt::format("{} records, {} bytes, {} lost, {} gaps in {:.1f} s\n",
				       counters.records, counters.bytes, counters.lost_bytes,
				       counters.gaps, seconds);
	auto out = std::back_inserter(text);
	fmt::format_to(out, "{} hand-backs, {} notifications\n", counters.hand_backs,
		       counters.notifications);
	if (kept != counters.records)
		fmt::format_to(out, "{} records kept, {} left out as asked\n", kept,
			       counters.records - kept);
	for (std::size_t id = 0; id < counters.channels.size(); id++) {
		const Counters::PerChannel &channel = counters.channels[id];
		if (channel.records > 0)
			fmt::format_to(out, "  {:<11} {:>9} records {:>12} bytes\n",
				       channel_name(static_cast<std::uint8_t>(id)), channel.records,
				       channel.bytes);
	}
	if (counters.gaps > 0)
		fmt::format_to(out, "the records are not complete: {} bytes lost in {} gaps\n",
			       counters.lost_bytes, counters.gaps);
	return text;
}

} // namespace zemctl
