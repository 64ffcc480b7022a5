/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What zemctl export writes: a sink receives the selected records of a capture in the order of the
 * file, with the marks and losses between them. Each format is a sink.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "decode/json_stream.h"
#include "records/marks.h"
#include "records/record.h"

namespace zemctl {

/* Records that are missing at one place of a capture. */
struct Loss {
	std::uint64_t time; /* the place, in ns since the epoch; 0 if unknown */
	Gap gap;
	std::optional<std::uint64_t> skipped_bytes; /* damage of the file; none: a gap mark */
	std::string description; /* one line without its end */
};

class ExportSink {
public:
	ExportSink() = default;
	ExportSink(const ExportSink &) = delete;
	ExportSink &operator=(const ExportSink &) = delete;
	virtual ~ExportSink() = default;

	virtual void record(const Record &record) = 0;
	/* Marks of gaps and of the end are not passed: loss() and finish() replace them. */
	virtual void mark(const Mark &mark) = 0;
	virtual void loss(const Loss &loss) = 0;
	/* Writes everything that is still buffered. */
	virtual void finish(StreamEnd end, std::uint64_t records) = 0;
};

} // namespace zemctl
