// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl dump: shows the records of a capture file in the formats of zemctl watch.
 */
#include "commands/commands.h"

#include <cerrno>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/errors.h"
#include "commands/options.h"
#include "commands/printer.h"
#include "records/capture.h"
#include "text/output.h"

namespace zemctl {

namespace {

struct DumpOptions {
	std::string file; /* "-" stands for standard input */
	PrintOptions print;
};

/* Returns the loss between @mark and the mark before it. */
Gap gap_of(const Mark &mark, std::uint64_t &lost_before)
{
	Gap gap = {};
	if (mark.totals.lost_bytes != lost_before)
		gap.lost_bytes = mark.totals.lost_bytes - lost_before;
	lost_before = mark.totals.lost_bytes;
	return gap;
}

void report_gap(const Gap &gap)
{
	if (gap.lost_bytes)
		fmt::print(stderr, "zemctl: gap: {} bytes were lost here\n", *gap.lost_bytes);
	else
		fmt::print(stderr, "zemctl: gap: records are missing here\n");
}

/* An incomplete file is no failure: its records are valid. */
StreamEnd report_end(const CaptureReader &reader, const std::string &name)
{
	if (reader.left_over() > 0) {
		fmt::print(stderr,
			   "zemctl: {}: cut off: {} bytes left over after the last whole "
			   "record\n",
			   name, reader.left_over());
		return StreamEnd::kCutOff;
	}
	if (reader.is_finished())
		return StreamEnd::kFinished;
	fmt::print(stderr,
		   "zemctl: {}: the capture was not finished, its end may be "
		   "missing\n",
		   name);
	return StreamEnd::kUnfinished;
}

int run_dump(const DumpOptions &options)
{
	const bool from_stdin = options.file == "-";
	const std::string name = from_stdin ? "standard input" : options.file;
	FileDescriptor file;
	if (!from_stdin) {
		file = FileDescriptor(::open(options.file.c_str(), O_RDONLY | O_CLOEXEC));
		if (!file.is_open())
			throw system_failure(name, errno);
	}

	CaptureReader reader(from_stdin ? STDIN_FILENO : file.get(), name);
	Output output(STDOUT_FILENO, "standard output");
	Printer printer(output, options.print, StreamSource::kCapture);
	std::uint64_t lost_bytes = 0;
	try {
		while (!printer.is_full()) {
			if (reader.at_end_of_buffer())
				printer.flush();
			const auto item = reader.next();
			if (!item)
				break;
			if (const Record *record = std::get_if<Record>(&*item))
				printer.print(*record);
			else if (std::get<Mark>(*item).kind == MarkKind::kGap) {
				const Gap gap = gap_of(std::get<Mark>(*item), lost_bytes);
				printer.print_gap(gap);
				report_gap(gap);
			}
		}
	} catch (const Failure &) {
		printer.flush();
		throw;
	}
	printer.flush();
	printer.finish(printer.is_full() ? StreamEnd::kLimit : report_end(reader, name));
	return kStatusSuccess;
}

} // namespace

void add_dump(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<DumpOptions>();
	CLI::App *command = app.add_subcommand("dump", "Show the records of a capture file");
	command->add_option("FILE", options->file, "The file; - for standard input")->required();
	add_print_options(*command, options->print);
	command->add_flag("--summary", options->print.summary,
			  "Show the records, bytes and rates of each channel, and the losses, "
			  "instead of the records")
		->excludes("--full")
		->excludes("--hex");
	runs(*command, line, [options](const Paths &) { return run_dump(*options); });
}

} // namespace zemctl
