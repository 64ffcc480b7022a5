// SPDX-License-Identifier: GPL-2.0
/*
 * Reads a capture from its begin to its end.
 */
#include "commands/capture_walk.h"

#include <cstdio>
#include <sstream>

#include <fmt/format.h>

#include "text/words.h"

namespace zemctl {

void report_lines(const std::string &lines)
{
	std::istringstream text(lines);
	for (std::string line; std::getline(text, line);)
		fmt::print(stderr, "zemctl: {}\n", line);
}

bool CaptureWalk::run(const Filter &filter, ExportSink &sink)
{
	CompletenessCheck check(input_.name());
	CaptureReader &reader = input_.reader();
	std::uint64_t records = 0;
	std::uint64_t time = 0; /* of the last item */
	while (const auto item = reader.next()) {
		if (const Record *record = std::get_if<Record>(&*item)) {
			time = record->header.timestamp;
			if (!filter.accepts(*record))
				continue;
			records++;
			sink.record(*record);
		} else if (const Mark *mark = std::get_if<Mark>(&*item)) {
			time = mark->time;
			if (const auto missing = check.note(*mark))
				pass(*missing, time, nullptr, sink);
			else if (mark->kind != MarkKind::kEnd)
				sink.mark(*mark);
		} else {
			const Skip &skip = std::get<Skip>(*item);
			pass(check.note(skip), time, &skip, sink);
		}
	}
	report_lines(check.note_end(reader));
	sink.finish(CompletenessCheck::end_of(reader), records);
	return check.is_complete();
}

void CaptureWalk::pass(const Missing &missing, std::uint64_t time, const Skip *skip,
		       ExportSink &sink)
{
	report_lines(missing.lines);
	Loss loss = {time, missing.gap, std::nullopt, {}};
	if (skip != nullptr)
		loss.skipped_bytes = skip->bytes;
	std::string_view lines = missing.lines;
	while (!lines.empty()) {
		loss.description += loss.description.empty() ? "" : "; ";
		loss.description += take_line(lines);
	}
	sink.loss(loss);
}

} // namespace zemctl
