// SPDX-License-Identifier: GPL-2.0
/*
 * Summarises a session in a few lines.
 */
#include "commands/summary.h"

#include <iterator>

#include <fmt/format.h>

#include "records/channels.h"

namespace zemctl {

namespace {

/* Returns the losses in the kernel, before the records reached the shared buffer. */
std::string format_kernel_loss(const LossMeter &loss)
{
	const KernelCounters &growth = loss.growth();
	if (!growth.tells_loss())
		return fmt::format(
			"the kernel's losses are not known: {} does not have all counters\n",
			loss.directory());
	std::string text = "in the kernel: ";
	if (const auto &pushed = growth[KernelCounter::kPushed])
		text += fmt::format("{} records pushed, ", *pushed);
	text += growth.loss_text();
	const std::uint64_t timeouts = growth[KernelCounter::kNotifyTimeouts].value_or(0);
	if (timeouts > 0)
		text += fmt::format(", {} notifications unanswered in time", timeouts);
	text += '\n';
	if (loss.has_restarted())
		text += "the kernel's counters started over, so its losses are not fully known\n";
	return text;
}

/* Returns a line for each kind of loss. */
std::string format_incompleteness(const Counters &counters, const Kept &kept, const LossMeter &loss)
{
	std::string text;
	auto out = std::back_inserter(text);
	if (counters.gaps > 0)
		fmt::format_to(out, "the records are not complete: {} bytes lost in {} gaps\n",
			       counters.lost_bytes, counters.gaps);
	if (const std::uint64_t lost = loss.growth().lost(); lost > 0)
		fmt::format_to(out, "the records are not complete: {} records lost in the kernel\n",
			       lost);
	if (kept.dropped > 0)
		fmt::format_to(out,
			       "the records are not complete: {} records dropped because the "
			       "output was too slow\n",
			       kept.dropped);
	const std::uint64_t accounted = kept.records + kept.left_out + kept.dropped;
	if (accounted < counters.records)
		fmt::format_to(out, "the records are not complete: {} records were not written\n",
			       counters.records - accounted);
	return text;
}

} // namespace

std::string format_summary(const Counters &counters, const Kept &kept,
			   std::chrono::nanoseconds elapsed, const LossMeter &loss)
{
	const double seconds = std::chrono::duration<double>(elapsed).count();
	std::string text = fmt::format("{} records, {} bytes, {} lost, {} gaps in {:.1f} s\n",
				       counters.records, counters.bytes, counters.lost_bytes,
				       counters.gaps, seconds);
	auto out = std::back_inserter(text);
	fmt::format_to(out, "{} hand-backs, {} notifications\n", counters.hand_backs,
		       counters.notifications);
	text += format_kernel_loss(loss);
	if (kept.left_out > 0)
		fmt::format_to(out, "{} records kept, {} left out as asked\n", kept.records,
			       kept.left_out);
	for (std::size_t id = 0; id < counters.channels.size(); id++) {
		const Counters::PerChannel &channel = counters.channels[id];
		if (channel.records > 0)
			fmt::format_to(out, "  {:<11} {:>9} records {:>12} bytes\n",
				       channel_name(static_cast<std::uint8_t>(id)), channel.records,
				       channel.bytes);
	}
	text += format_incompleteness(counters, kept, loss);
	return text;
}

} // namespace zemctl
