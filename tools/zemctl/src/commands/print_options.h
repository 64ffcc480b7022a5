/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The options of zemctl watch and zemctl dump that select records and determine their form.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "decode/filter.h"
#include "text/timestamp.h"

namespace CLI {
class App;
}

namespace zemctl {

enum class When { kAuto, kAlways, kNever };

struct PrintOptions {
	bool json = false;
	bool hex = false;
	bool full = false;
	bool summary = false; /* instead of the records */
	bool utc = false;
	When colour = When::kAuto;
	std::vector<std::string> fields; /* empty: the usual columns */
	std::vector<std::string> channels; /* empty: all channels */
	Criteria criteria; /* without its channels and times */
	std::string since; /* "" unless given */
	std::string until;
	std::string pattern;
	std::optional<std::uint64_t> records;
};

/* Adds the options that select records by their time and by what they are about. */
void add_criteria(CLI::App &command, PrintOptions &options);

/* Adds the option --color. */
void add_colour(CLI::App &command, When &when, const std::string &description);

/*
 * Returns whether output has colour. Unless the user decides, a terminal has it, but not with
 * NO_COLOR set to anything.
 */
bool wants_colour(When when, bool is_terminal);

/* Adds the options that fill @options. */
void add_print_options(CLI::App &command, PrintOptions &options);

Calendar::Zone zone_of(const PrintOptions &options);

/* Returns all criteria. Throws a usage Failure for a text that is no time. */
Criteria criteria_of(const PrintOptions &options);

} // namespace zemctl
