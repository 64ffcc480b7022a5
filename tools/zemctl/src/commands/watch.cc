// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl watch: records as they arrive.
 */
#include "commands.h"

#include <unistd.h>

#include "../reading.h"

namespace zemctl {

namespace {

/* A record is shown at the second look that sees it. */
constexpr auto kWatchLookInterval = std::chrono::milliseconds(50);

class WatchSink {
public:
	explicit WatchSink(const PrintOptions &options)
		: output_(STDOUT_FILENO, "standard output"), printer_(output_, options)
	{
	}

	bool deliver(const Reader &reader)
	{
		for (const Record &record : reader.records())
			printer_.print(record);
		printer_.flush();
		print_notes(reader);
		return !printer_.is_full();
	}

	void note_kernel_loss() {}
	void finish() { printer_.flush(); }
	int fd() const { return output_.fd(); }
	std::uint64_t kept() const { return printer_.printed(); }

private:
	Output output_;
	Printer printer_;
};

} // namespace

int run_watch(const Paths &paths, const WatchOptions &options)
{
	DeviceReading reading(paths);
	WatchSink sink(options.print);
	return reading.run(options.read, kWatchLookInterval, sink);
}

} // namespace zemctl
