/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads a capture from its begin to its end, passes the selected records, the marks and the losses
 * to a sink, and reports the losses on standard error.
 */
#pragma once

#include <cstdint>
#include <string>

#include "commands/capture_input.h"
#include "commands/completeness.h"
#include "decode/filter.h"
#include "export/sink.h"

namespace zemctl {

/* Writes @lines, none or several, to standard error. */
void report_lines(const std::string &lines);

class CaptureWalk {
public:
	explicit CaptureWalk(const std::string &file) : input_(file) {}

	/* Return: whether nothing is missing in the capture. */
	bool run(const Filter &filter, ExportSink &sink);

private:
	void pass(const Missing &missing, std::uint64_t time, const Skip *skip, ExportSink &sink);

	CaptureInput input_;
};

} // namespace zemctl
