/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Finds out what is missing in a capture that is being read.
 */
#pragma once

#include <optional>
#include <string>

#include "decode/json_stream.h"
#include "records/capture_reader.h"

namespace zemctl {

/* Records that are missing at this place of a capture. */
struct Missing {
	std::string lines; /* for the user, each with a line end */
	Gap gap;
};

class CompletenessCheck {
public:
	explicit CompletenessCheck(std::string name) : name_(std::move(name)) {}

	/* Returns nothing for a mark that is not a gap. */
	std::optional<Missing> note(const Mark &mark);
	Missing note(const Skip &skip);
	/* Returns a line for the user, or "" if the end of the capture is not missing. */
	std::string note_end(const CaptureReader &reader);
	static StreamEnd end_of(const CaptureReader &reader);

	/* Returns whether nothing was missing so far. */
	bool is_complete() const { return complete_; }

private:
	std::string name_;
	CaptureTotals totals_ = {};
	bool complete_ = true;
};

} // namespace zemctl
