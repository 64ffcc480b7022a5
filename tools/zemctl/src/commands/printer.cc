// SPDX-License-Identifier: GPL-2.0
/*
 * Prints records on standard output.
 */
#include "commands/printer.h"

#include "base/wall_clock.h"
#include "text/fit.h"
#include "text/terminal.h"
#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::string_view kHexIndent = "    ";

} // namespace

Printer::Printer(Output &output, const PrintOptions &options, StreamSource source)
	: output_(output), options_(options), filter_(criteria_of(options)),
	  text_(wants_colour(options.colour, output.is_terminal()) ? Colour::kOn : Colour::kOff,
		zone_of(options), fields_named(options.fields)),
	  plain_(Colour::kOff, zone_of(options), fields_named(options.fields)),
	  json_(options.hex ? PayloadHex::kAll : PayloadHex::kOthers),
	  is_terminal_(output.is_terminal())
{
	if (!options_.pattern.empty())
		pattern_.emplace(options_.pattern);
	if (options_.summary)
		return;
	if (options_.json)
		output_.append(json_.header(source));
	else if (source == StreamSource::kDevice)
		print_heading(wall_clock());
}

/* Prints a heading unless the last one is true of @time, too. */
void Printer::print_heading(std::uint64_t time)
{
	const long offset = text_.offset(time);
	if (heading_offset_ == offset)
		return;
	heading_offset_ = offset;
	output_.append(text_.heading(offset));
}

/* Returns everything that is printed of @record. Valid until the next call. */
std::string_view Printer::text_of(const Record &record, TextFormat &format)
{
	const std::string_view line = format.line(record);
	if (!options_.full && !options_.hex)
		return line;
	lines_.clear();
	lines_.put(line);
	if (options_.full)
		lines_.put(format_full(record));
	if (options_.hex)
		lines_.put(hex_dump(record.payload(), kHexIndent));
	return lines_.view();
}

/* On a terminal, lines end at its edge. */
void Printer::append_text(std::string_view lines)
{
	if (!is_terminal_)
		return output_.append(lines);
	fitted_.clear();
	append_fitted(fitted_, lines, terminal_width(output_.fd()));
	output_.append(fitted_.view());
}

void Printer::print(const Record &record)
{
	if (is_full() || !filter_.accepts(record))
		return;
	const bool as_json = options_.json && !options_.summary;
	std::string_view shown;
	/* A pattern does not see colours. */
	if (pattern_ || !options_.summary)
		shown = as_json ? json_.record(record) : text_of(record, pattern_ ? plain_ : text_);
	if (pattern_ && !pattern_->matches(shown))
		return;
	printed_++;
	if (options_.summary)
		return summary_.count(record);
	if (as_json)
		return output_.append(shown);
	print_heading(record.header.timestamp);
	if (pattern_ && text_.has_colour())
		shown = text_of(record, text_);
	append_text(shown);
}

void Printer::print_gap(const Gap &gap)
{
	if (options_.summary)
		summary_.count(gap);
	else if (options_.json)
		output_.append(json_.gap(gap));
}

void Printer::print_mark(const Mark &mark)
{
	if (options_.json && !options_.summary)
		output_.append(json_.mark(mark));
}

void Printer::finish(StreamEnd reason)
{
	const StreamEnd end = is_full() ? StreamEnd::kLimit : reason;
	if (options_.summary)
		output_.append(options_.json ? summary_.json(end) :
					       summary_.text(end, zone_of(options_)));
	else if (options_.json)
		output_.append(json_.end(end, printed_));
	else if (!heading_offset_)
		print_heading(wall_clock());
	output_.flush();
}

} // namespace zemctl
