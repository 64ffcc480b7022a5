// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl record: writes records to a capture file.
 */
#include "commands/commands.h"

#include <memory>

#include "commands/options.h"
#include "commands/reading.h"
#include "commands/record_sink.h"
#include "commands/server_reading.h"
#include "kernel/machine.h"
#include "kernel/moment.h"
#include "records/capture_files.h"
#include "records/channels.h"

namespace zemctl {

namespace {

struct RecordOptions {
	ReadOptions read;
	CaptureFilesOptions files;
	RecordSinkOptions sink;
	std::vector<std::string> channels;
	std::optional<double> rotate_seconds;
	bool compress = false;
};

/* No user watches the file. A process that is killed loses the records of this time. */
constexpr auto kRecordLookInterval = std::chrono::milliseconds(250);

void check(const RecordOptions &options)
{
	const bool rotates = options.files.rotate_bytes || options.rotate_seconds;
	if (rotates && options.files.path == "-")
		throw usage_failure("record: standard output cannot be rotated");
	if (options.files.keep && !rotates)
		throw usage_failure("record: --keep needs --rotate-bytes or --rotate-seconds");
}

CaptureFilesOptions files_of(const RecordOptions &options)
{
	CaptureFilesOptions files = options.files;
	if (options.compress)
		files.compression = BlockCompression::kZstd;
	if (options.rotate_seconds)
		files.rotate_time = duration_of(*options.rotate_seconds);
	return files;
}

RecordSinkOptions sink_of(const RecordOptions &options)
{
	RecordSinkOptions sink = options.sink;
	sink.channels = channel_set(options.channels);
	return sink;
}

int run_record(const Paths &paths, const RecordOptions &options)
{
	check(options);
	const Machine machine = read_machine();
	const auto moment = [directory = paths.counters()] {
		return read_moment(directory);
	};
	return with_reading(paths, [&](auto &reading) {
		CaptureFiles files(files_of(options), [&](CaptureWriter &writer) {
			write_machine(writer, machine);
			writer.write_moment(moment());
		});
		RecordSink sink(files, sink_of(options), moment);
		return reading.run(options.read, kRecordLookInterval, sink);
	});
}

void add_rotation(CLI::App &command, RecordOptions &options)
{
	add_number<std::uint64_t>(command, "--rotate-bytes", options.files.rotate_bytes,
				  "Start the next file, FILE.NUMBER, after this many bytes",
				  {.least = 1});
	add_seconds(command, "--rotate-seconds", options.rotate_seconds,
		    "Start the next file, FILE.NUMBER, after this many seconds");
	add_number<std::uint64_t>(command, "--keep", options.files.keep,
				  "Keep this many finished files, and remove older ones",
				  {.least = 1});
}

} // namespace

void add_record(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<RecordOptions>();
	CLI::App *command =
		app.add_subcommand("record", "Write records to a capture file until Ctrl-C");
	command->add_option("-o,--output", options->files.path, "The file; - for standard output")
		->type_name("FILE")
		->required();
	add_read_options(*command, options->read);
	add_record_limit(*command, options->sink.records);
	command->add_option("--channels", options->channels,
			    "Write only these channels; may be repeated or given as a,b,c")
		->delimiter(',')
		->check(is_channel());
	command->add_flag("--compress", options->compress, "Compress the file with zstd");
	add_rotation(*command, *options);
	runs(*command, line, [options](const Paths &paths) { return run_record(paths, *options); });
}

} // namespace zemctl
