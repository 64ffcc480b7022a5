/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Reads a capture from its begin to its end, passes the selected records, the marks and the losses
 * to a sink, and reports the losses on standard error.
 */
#pragma once

#include <cstdint>
#include <string>

#include "base/file_descriptor.h"
#include "commands/completeness.h"
#include "decode/filter.h"
#include "export/sink.h"
#include "records/capture_reader.h"

namespace zemctl {

/* Writes @lines, none or several, to standard error. */
void report_lines(const std::string &lines);

class CaptureWalk {
public:
	/* @file is "-" for standard input. Throws a Failure if it is no capture. */
	explicit CaptureWalk(const std::string &file);

	/* Return: whether nothing is missing in the capture. */
	bool run(const Filter &filter, ExportSink &sink);

	CaptureReader &reader() { return reader_; }

private:
	void pass(const Missing &missing, std::uint64_t time, const Skip *skip, ExportSink &sink);

	std::string name_;
	FileDescriptor file_;
	CaptureReader reader_;
};

} // namespace zemctl
