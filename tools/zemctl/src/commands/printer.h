/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Records on standard output, as watch and dump show them: which ones, in which form, how many.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "decode/format.h"
#include "text/output.h"

namespace CLI {
class App;
}

namespace zemctl {

struct PrintOptions {
	bool json = false;
	bool hex = false;
	bool full = false;
	std::vector<std::string> channels; /* none: all */
	std::optional<std::uint64_t> records;
};

/* The options of PrintOptions. */
void add_print_options(CLI::App &command, PrintOptions &options);

class Printer {
public:
	Printer(Output &output, const PrintOptions &options);

	void print(const Record &record);
	void flush() { output_.flush(); }
	/* Has it printed as many records as were asked for? */
	bool is_full() const { return options_.records && printed_ >= *options_.records; }
	std::uint64_t printed() const { return printed_; }

private:
	bool is_wanted(const Record &record) const;

	Output &output_;
	PrintOptions options_;
	Colour colour_;
	std::uint32_t wanted_ = 0; /* a bit per channel */
	std::uint64_t printed_ = 0;
};

} // namespace zemctl
