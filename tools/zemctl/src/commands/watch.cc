// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl watch: shows records as they arrive.
 */
#include "commands/commands.h"

#include <memory>

#include <unistd.h>

#include "commands/options.h"
#include "commands/printer.h"
#include "commands/server_reading.h"
#include "text/output.h"

namespace zemctl {

namespace {

struct WatchOptions {
	ReadOptions read;
	PrintOptions print;
};

/* A record is shown after the second look that contains it. */
constexpr auto kWatchLookInterval = std::chrono::milliseconds(50);

class WatchSink {
public:
	/* The user has seen enough: `zemctl watch | head`. */
	static constexpr bool kNeedsReader = false;

	explicit WatchSink(const PrintOptions &options)
		: output_(STDOUT_FILENO, "standard output"),
		  printer_(output_, options, StreamSource::kDevice)
	{
	}

	bool deliver(const Arrival &arrival)
	{
		seen_ += arrival.records.size();
		for (const Record &record : arrival.records)
			printer_.print(record);
		note_gaps(arrival.counters);
		printer_.flush();
		print_notes(arrival.notes);
		return !printer_.is_full();
	}

	void note_kernel_loss(std::uint64_t records) { printer_.print_gap({{}, records}); }
	void note_dropped(std::uint64_t records)
	{
		dropped_ += records;
		printer_.print_gap({{}, records});
	}
	void finish() { printer_.finish(StreamEnd::kStopped); }
	int fd() const { return output_.fd(); }
	const std::string &name() const { return output_.name(); }
	Kept kept() const { return {printer_.printed(), seen_ - printer_.printed(), dropped_}; }

private:
	void note_gaps(const Counters &counters)
	{
		if (counters.gaps == gaps_)
			return;
		Gap gap = {};
		if (counters.lost_bytes > lost_bytes_)
			gap.lost_bytes = counters.lost_bytes - lost_bytes_;
		printer_.print_gap(gap);
		gaps_ = counters.gaps;
		lost_bytes_ = counters.lost_bytes;
	}

	Output output_;
	Printer printer_;
	std::uint64_t seen_ = 0;
	std::uint64_t dropped_ = 0;
	std::uint64_t gaps_ = 0;
	std::uint64_t lost_bytes_ = 0;
};

int run_watch(const Paths &paths, const WatchOptions &options)
{
	return with_reading(paths, [&](auto &reading) {
		WatchSink sink(options.print);
		return reading.run(options.read, kWatchLookInterval, sink);
	});
}

} // namespace

void add_watch(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<WatchOptions>();
	CLI::App *command = app.add_subcommand("watch", "Show records as they arrive");
	add_read_options(*command, options->read);
	add_print_options(*command, options->print);
	/* No other arguments can follow, so --channel kmem svp is allowed. */
	command->get_option("--channel")->allow_extra_args(true);
	runs(*command, line, [options](const Paths &paths) { return run_watch(paths, *options); });
}

} // namespace zemctl
