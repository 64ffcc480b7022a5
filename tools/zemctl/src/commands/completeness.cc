// SPDX-License-Identifier: GPL-2.0
/*
 * Finds out what is missing in a capture.
 */
#include "commands/completeness.h"

#include <fmt/format.h>

namespace zemctl {

/* The totals of a gap are those of all gaps so far. A gap may have several causes. */
std::optional<Missing> CompletenessCheck::note(const Mark &mark)
{
	if (mark.kind != MarkKind::kGap)
		return std::nullopt;
	complete_ = false;
	const CaptureTotals growth = growth_of(mark.totals(), totals_);
	totals_ = mark.totals();
	const std::uint64_t dropped = growth.dropped_records;
	const std::uint64_t kernel_lost = growth.kernel_lost;
	const std::uint64_t lost_bytes = growth.lost_bytes;
	Missing missing;
	if (dropped > 0)
		missing.lines += fmt::format(
			"gap: {} records were dropped here, the file was too slow\n", dropped);
	if (kernel_lost > 0)
		missing.lines +=
			fmt::format("gap: {} records were lost in the kernel\n", kernel_lost);
	if (lost_bytes > 0)
		missing.lines += fmt::format("gap: {} bytes were lost here\n", lost_bytes);
	if (missing.lines.empty())
		missing.lines = "gap: records are missing here\n";
	if (lost_bytes > 0)
		missing.gap.lost_bytes = lost_bytes;
	if (dropped + kernel_lost > 0)
		missing.gap.lost_records = dropped + kernel_lost;
	return missing;
}

Missing CompletenessCheck::note(const Skip &skip)
{
	complete_ = false;
	const std::string records = skip.records ?
					    fmt::format("{} records are missing", *skip.records) :
					    std::string("records may be missing");
	return {fmt::format("{}: damaged: {} bytes skipped at byte {}, {}\n", name_, skip.bytes,
			    skip.position, records),
		{std::nullopt, skip.records}};
}

StreamEnd CompletenessCheck::end_of(const CaptureReader &reader)
{
	if (reader.left_over() > 0)
		return StreamEnd::kCutOff;
	return reader.is_finished() ? StreamEnd::kFinished : StreamEnd::kUnfinished;
}

/* The records of an incomplete file are valid. */
std::string CompletenessCheck::note_end(const CaptureReader &reader)
{
	complete_ = complete_ && reader.left_over() == 0 && reader.is_finished();
	if (reader.left_over() > 0)
		return fmt::format("{}: cut off: {} bytes left over after the last whole {}\n",
				   name_, reader.left_over(),
				   reader.version() == 1 ? "record" : "block");
	if (!reader.is_finished())
		return fmt::format("{}: the capture was not finished, its end may be missing\n",
				   name_);
	return {};
}

} // namespace zemctl
