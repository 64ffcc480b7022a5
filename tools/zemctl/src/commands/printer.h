/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Prints the records of zemctl watch and zemctl dump on standard output: selects them, formats them
 * and limits their number. As JSON, gaps and the end are printed as well. Instead of records it may
 * print a summary of them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "commands/print_options.h"
#include "commands/record_summary.h"
#include "decode/format.h"
#include "decode/json_stream.h"
#include "text/output.h"
#include "text/pattern.h"
#include "text/text_buffer.h"

namespace zemctl {

class Printer {
public:
	Printer(Output &output, const PrintOptions &options, StreamSource source);

	void print(const Record &record);
	void print_gap(const Gap &gap);
	void print_mark(const Mark &mark);
	/* @reason does not matter if the printer is full. */
	void finish(StreamEnd reason);
	void flush() { output_.flush(); }
	/* Returns whether the requested number of records was printed. */
	bool is_full() const { return options_.records && printed_ >= *options_.records; }
	std::uint64_t printed() const { return printed_; }

private:
	void print_heading(std::uint64_t time);
	std::string_view text_of(const Record &record, TextFormat &format);
	void append_text(std::string_view lines);

	Output &output_;
	PrintOptions options_;
	Filter filter_;
	std::optional<Pattern> pattern_;
	TextFormat text_;
	TextFormat plain_; /* what the pattern is compared with */
	TextBuffer lines_;
	TextBuffer fitted_;
	std::optional<long> heading_offset_; /* nothing before the first heading */
	JsonStream json_;
	RecordSummary summary_;
	bool is_terminal_;
	std::uint64_t printed_ = 0;
};

} // namespace zemctl
