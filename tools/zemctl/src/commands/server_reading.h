/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The part of zemctl watch and zemctl record that reads the stream of zemctl serve instead of the
 * shared buffer, and the choice between both.
 */
#pragma once

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/file_descriptor.h"
#include "commands/reading.h"
#include "records/capture_reader.h"
#include "serve/unix_socket.h"

namespace zemctl {

/* The records of a stream, in batches, and the losses that its marks report. */
class ServerStream {
public:
	/* Throws a Failure if the server refuses the connection. */
	ServerStream(FileDescriptor socket, const std::string &name);

	enum class Event {
		kRecords, /* records() are new, or nothing has happened */
		kGap, /* records are missing after records(), see the losses */
		kTimeout,
		kStopped,
		kEnd, /* the server has ended */
	};

	/*
	 * Waits for records, but not longer than @time, and not after a signal. Throws a Failure if
	 * the connection breaks, and BrokenPipe if @output_fd has lost its reader.
	 */
	Event wait(std::chrono::nanoseconds time, const StopSignal &stop, int output_fd);
	/* Forgets the records and notes of the last wait. */
	void clear();

	Arrival arrival() const { return {records_, notes_, counters_}; }
	const Counters &counters() const { return counters_; }
	std::uint64_t kernel_lost() const { return kernel_lost_; }
	std::uint64_t dropped() const { return dropped_; }

private:
	Event wait_for_bytes(std::chrono::nanoseconds time, const StopSignal &stop,
			     int output_fd) const;
	void add(const Record &record);
	bool note(const Mark &mark);
	void find_records();

	FileDescriptor socket_;
	std::string name_;
	std::unique_ptr<CaptureReader> reader_;
	std::vector<std::byte> bytes_;
	std::vector<Record> records_;
	std::vector<std::string> notes_;
	Counters counters_;
	CaptureTotals totals_ = {};
	std::uint64_t kernel_lost_ = 0; /* by the last gap */
	std::uint64_t dropped_ = 0; /* by the last gap */
};

class ServerReading {
public:
	ServerReading(FileDescriptor socket, const Paths &paths)
		: stream_(std::move(socket), paths.socket), meter_(paths.counters())
	{
	}

	/* As DeviceReading::run(). The server determines the interval of looks. */
	template <typename Sink>
	int run(const ReadOptions &options, std::chrono::nanoseconds, Sink &sink)
	{
		const Clock::time_point start = Clock::now();
		read_and_summarise(
			sink, [&] { read(duration_of(options), start, sink); },
			[&] {
				meter_.update();
				if (!shows_losses<Sink>())
					fmt::print(stderr, "{}",
						   format_summary(stream_.counters(), sink.kept(),
								  Clock::now() - start, meter_));
			});
		const bool complete = !has_gap_ &&
				      is_complete(stream_.counters(), sink.kept(), meter_);
		return complete || !options.strict ? kStatusSuccess : kStatusFailure;
	}

private:
	template <typename Sink>
	void read(const std::optional<std::chrono::nanoseconds> &duration, Clock::time_point start,
		  Sink &sink)
	{
		/* The sink gets its chance to write marks, or to look for keys. */
		constexpr std::chrono::nanoseconds kIdleTime = idle_time<Sink>();
		for (;;) {
			const auto left = duration ? *duration - (Clock::now() - start) : kIdleTime;
			if (left <= std::chrono::nanoseconds::zero())
				return;
			const auto event =
				stream_.wait(std::min(left, kIdleTime), stop_, sink.fd());
			const bool wants_more = sink.deliver(stream_.arrival());
			stream_.clear();
			if (event == ServerStream::Event::kGap)
				note_gap(sink);
			if (event == ServerStream::Event::kEnd)
				note_end(sink);
			if (!wants_more || event == ServerStream::Event::kEnd ||
			    event == ServerStream::Event::kStopped)
				return;
		}
	}

	template <typename Sink>
	static constexpr std::chrono::nanoseconds idle_time()
	{
		if constexpr (requires { Sink::kIdleTime; })
			return Sink::kIdleTime;
		else
			return std::chrono::seconds(1);
	}

	template <typename Sink>
	static void note_end(Sink &sink)
	{
		if constexpr (shows_losses<Sink>())
			sink.note_end();
		else
			fmt::print(stderr, "zemctl: zemctl serve has ended\n");
	}

	template <typename Sink>
	void note_gap(Sink &sink)
	{
		has_gap_ = true;
		if (stream_.kernel_lost() > 0)
			sink.note_kernel_loss(stream_.kernel_lost());
		if (stream_.dropped() > 0)
			sink.note_dropped(stream_.dropped());
	}

	StopSignal stop_;
	ServerStream stream_;
	LossMeter meter_;
	bool has_gap_ = false;
};

/*
 * Calls @body with the stream of the server if one runs, otherwise with the shared buffer. Nothing
 * is written before that: without either, an old capture must not be truncated.
 */
template <typename Body>
int with_reading(const Paths &paths, const Body &body)
{
	if (FileDescriptor server = connect_to_server(paths.socket); server.is_open()) {
		ServerReading reading(std::move(server), paths);
		return body(reading);
	}
	DeviceReading reading(paths);
	return body(reading);
}

} // namespace zemctl
