/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Prints the records of zemctl watch and zemctl dump on standard output: selects them, formats them
 * and limits their number. As JSON, gaps and the end are printed as well. Instead of records it may
 * print a summary of them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "commands/record_summary.h"
#include "decode/format.h"
#include "decode/json_stream.h"
#include "text/output.h"

namespace CLI {
class App;
}

namespace zemctl {

struct PrintOptions {
	bool json = false;
	bool hex = false;
	bool full = false;
	bool summary = false; /* instead of the records */
	std::vector<std::string> channels; /* empty: all channels */
	std::optional<std::uint64_t> records;
};

/* Adds the options that fill @options. */
void add_print_options(CLI::App &command, PrintOptions &options);

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
	bool is_wanted(const Record &record) const;

	Output &output_;
	PrintOptions options_;
	TextFormat text_;
	JsonStream json_;
	RecordSummary summary_;
	std::uint32_t wanted_ = 0; /* one bit for each channel */
	std::uint64_t printed_ = 0;
};

} // namespace zemctl
