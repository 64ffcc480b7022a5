// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl serve: reads the shared buffer, and offers records and metrics to other programs.
 */
#include "commands/commands.h"

#include <memory>

#include "base/wall_clock.h"
#include "commands/options.h"
#include "commands/reading.h"
#include "kernel/machine.h"
#include "kernel/moment.h"
#include "serve/hub.h"
#include "serve/server.h"

namespace zemctl {

namespace {

struct ServeOptions {
	ReadOptions read;
	ServerOptions server;
	std::optional<double> text_seconds;
	bool without_http = false;
};

/* The server runs all day, so it looks as seldom as record does. */
constexpr auto kServeLookInterval = std::chrono::milliseconds(250);
/* The module's counters are read for the metrics. */
constexpr auto kCounterInterval = std::chrono::seconds(1);

class ServeSink {
public:
	static constexpr bool kNeedsReader = false;

	ServeSink(Hub &hub, std::string counters) : hub_(hub), counters_(std::move(counters)) {}

	bool deliver(const Arrival &arrival)
	{
		print_notes(arrival.notes);
		hub_.deliver(arrival);
		records_ += arrival.records.size();
		if (Clock::now() - last_counters_ >= kCounterInterval)
			read_counters();
		return true;
	}

	void note_kernel_loss(std::uint64_t records) { hub_.note_kernel_loss(records); }
	void read_counters()
	{
		last_counters_ = Clock::now();
		hub_.set_module_counters(read_module_counters(counters_));
	}
	void finish() {}
	int fd() const { return -1; }
	std::string name() const { return "serve"; }
	Kept kept() const { return {records_, 0, 0}; }

private:
	Hub &hub_;
	std::string counters_;
	Clock::time_point last_counters_ = Clock::now();
	std::uint64_t records_ = 0;
};

ServerOptions server_of(const Paths &paths, const ServeOptions &options)
{
	ServerOptions server = options.server;
	server.socket = paths.socket;
	if (options.without_http)
		server.listen.clear();
	if (options.text_seconds)
		server.text_interval = duration_of(*options.text_seconds);
	return server;
}

int run_serve(const Paths &paths, const ServeOptions &options)
{
	DeviceReading reading(paths);
	const Machine machine = read_machine();
	const auto moment = [directory = paths.counters()] {
		return read_moment(directory);
	};
	Hub hub({.preamble =
			 [&](CaptureWriter &writer) {
				 write_machine(writer, machine);
				 writer.write_moment(moment());
			 },
		 .moment = moment},
		wall_clock());
	ServeSink sink(hub, paths.counters());
	sink.read_counters();
	const Server server(hub, server_of(paths, options));
	fmt::print(stderr, "zemctl: records at {}\n", paths.socket);
	if (!server.http_address().empty())
		fmt::print(stderr, "zemctl: metrics at http://{}/metrics\n", server.http_address());
	return reading.run(options.read, kServeLookInterval, sink);
}

} // namespace

void add_serve(CLI::App &app, CommandLine &line)
{
	const auto options = std::make_shared<ServeOptions>();
	CLI::App *command = app.add_subcommand(
		"serve", "Offer records on a socket, and metrics over HTTP or in a file");
	add_read_options(*command, options->read);
	CLI::Option *listen =
		command->add_option("--listen", options->server.listen,
				    "The address and port of the metrics; the port 0 is a free one")
			->type_name("ADDRESS:PORT")
			->capture_default_str();
	command->add_flag("--no-listen", options->without_http, "Open no port")->excludes(listen);
	CLI::Option *folder =
		command->add_option("--textfile", options->server.text_folder,
				    "Also write the metrics to zem.prom in this folder, which is "
				    "replaced as a whole")
			->type_name("DIR");
	add_seconds(*command, "--textfile-seconds", options->text_seconds,
		    "The time between two writes of this file, 15 by default")
		->needs(folder);
	runs(*command, line, [options](const Paths &paths) { return run_serve(paths, *options); });
}

} // namespace zemctl
