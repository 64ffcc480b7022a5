/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes the packets of a Perfetto trace: tracks, events on them, clocks and the machine.
 *
 * Times are those of records, in ns since the epoch. The trace has them as CLOCK_BOOTTIME,
 * converted with the clock reading before the event. A capture without a clock reading before its
 * first event becomes a trace in CLOCK_REALTIME.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <variant>

#include <protozero/pbf_writer.hpp>

#include "export/perfetto_schema.h"
#include "records/marks.h"
#include "text/output.h"

namespace zemctl {

/* Identifies a track in the trace. The same name below the same parent is the same track. */
using TrackId = std::uint64_t;

inline constexpr TrackId kNoParent = 0;

/* The unit of the values of a counter track. */
enum class TrackUnit { kNanoseconds, kBytes, kCount, kPages, kPercent, kBytesPerSecond };

/* A value that is shown with an event. */
struct Annotation {
	std::string_view name; /* one of few: names are interned */
	std::variant<std::uint64_t, std::string_view> value;
};

class PerfettoTrace {
public:
	explicit PerfettoTrace(Output &output);

	void clock(const ClockReading &clock);
	/* Written with the next clock reading, or before the first event. */
	void machine(const MachineDescription &machine) { machine_ = machine; }

	/* Describe a track unless it is described already. */
	TrackId group(TrackId parent, std::string_view name);
	TrackId counters(TrackId parent, std::string_view name, TrackUnit unit);
	TrackId process(std::int32_t tgid, std::string_view name);
	TrackId thread(std::int32_t tgid, std::int32_t tid, std::string_view name);

	void count(TrackId track, std::uint64_t time, std::int64_t value);
	void count(TrackId track, std::uint64_t time, double value);
	/* Names of events are interned, so there must be few. */
	void begin(TrackId track, std::uint64_t time, std::string_view name,
		   std::span<const Annotation> annotations);
	void end(TrackId track, std::uint64_t time);
	void instant(TrackId track, std::uint64_t time, std::string_view name,
		     std::span<const Annotation> annotations);

	void flush() { output_.flush(); }

private:
	using Writer = protozero::pbf_writer;

	/* Names that are written once and have numbers from then on. */
	struct Names {
		std::unordered_map<std::string, std::uint64_t> numbers;
		std::string fresh; /* InternedData fields for the next packet */

		std::uint64_t number_of(std::string_view name, perfetto::Tag field);
	};

	void put_machine();
	void put_packet(std::string_view fields);
	void put_time(Writer &packet, std::uint64_t time);
	void put_event(std::uint64_t time, std::string_view event);
	void put_named_event(perfetto::EventType type, TrackId track, std::uint64_t time,
			     std::string_view name, std::span<const Annotation> annotations);
	bool is_new(TrackId track) { return described_.insert(track).second; }
	void put_track(TrackId track, TrackId parent, std::string_view descriptor);

	Output &output_;
	std::optional<ClockReading> clock_;
	std::optional<MachineDescription> machine_; /* not yet written */
	bool in_realtime_ = false; /* once an event came before any clock reading */
	bool has_events_ = false;
	bool has_packets_ = false;
	std::unordered_set<TrackId> described_;
	Names event_names_;
	Names annotation_names_;
};

} // namespace zemctl
