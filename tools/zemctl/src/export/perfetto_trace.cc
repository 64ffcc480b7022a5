// SPDX-License-Identifier: GPL-2.0
/*
 * Writes the packets of a Perfetto trace.
 */
#include "export/perfetto_trace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::uint32_t kSequence = 0x7a656d; /* any number except 0 */

/* FNV-1a. Traces may be concatenated, so the numbers of tracks should not be small. */
TrackId hash_of(TrackId parent, std::string_view kind, std::string_view name)
{
	constexpr std::uint64_t kPrime = 0x100000001b3;
	std::uint64_t hash = 0xcbf29ce484222325 ^ parent;
	for (const std::string_view part : {kind, name}) {
		for (const char character : part)
			hash = (hash ^ static_cast<unsigned char>(character)) * kPrime;
		hash *= kPrime;
	}
	return hash == kNoParent ? 1 : hash;
}

/* Perfetto's times are signed. */
std::uint64_t boottime_of(std::uint64_t time, const ClockReading &clock)
{
	constexpr std::uint64_t kLatest = INT64_MAX;
	if (time < clock.realtime) {
		const std::uint64_t before = clock.realtime - time;
		return before < clock.boottime ? clock.boottime - before : 0;
	}
	const std::uint64_t after = time - clock.realtime;
	return std::min(after, kLatest - std::min(kLatest, clock.boottime)) + clock.boottime;
}

void add_text(protozero::pbf_writer &message, perfetto::Tag tag, std::string_view text)
{
	message.add_string(tag, text.data(), text.size());
}

void add_message(protozero::pbf_writer &message, perfetto::Tag tag, std::string_view fields)
{
	message.add_message(tag, fields.data(), fields.size());
}

struct UnitRow {
	perfetto::CounterUnit unit;
	std::string_view name;
};

constexpr UnitRow row_of(TrackUnit unit)
{
	using enum perfetto::CounterUnit;
	switch (unit) {
	case TrackUnit::kNanoseconds:
		return {kTimeNs, ""};
	case TrackUnit::kBytes:
		return {kSizeBytes, ""};
	case TrackUnit::kCount:
		return {kCount, ""};
	case TrackUnit::kPages:
		return {kUnspecified, "pages"};
	case TrackUnit::kPercent:
		return {kUnspecified, "%"};
	case TrackUnit::kBytesPerSecond:
		break;
	}
	return {kUnspecified, "B/s"};
}

} // namespace

PerfettoTrace::PerfettoTrace(Output &output) : output_(output)
{
}

void PerfettoTrace::put_packet(std::string_view fields)
{
	std::string packet(fields);
	Writer(packet).add_uint32(perfetto::TracePacket::kTrustedPacketSequenceId, kSequence);
	const std::uint32_t flags = has_packets_ ? perfetto::TracePacket::kNeedsIncrementalState :
						   perfetto::TracePacket::kIncrementalStateCleared;
	has_packets_ = true;
	Writer(packet).add_uint32(perfetto::TracePacket::kSequenceFlags, flags);
	std::string trace;
	Writer writer(trace);
	add_message(writer, perfetto::Trace::kPacket, packet);
	output_.append(trace);
}

/* Without a snapshot, Perfetto could not show times of CLOCK_REALTIME beside those of other traces.
 */
void PerfettoTrace::clock(const ClockReading &clock)
{
	clock_ = clock;
	std::string snapshot;
	Writer message(snapshot);
	const auto add_clock = [&message](perfetto::BuiltinClock id, std::uint64_t time) {
		std::string reading;
		Writer fields(reading);
		fields.add_uint32(perfetto::Clock::kClockId, static_cast<std::uint32_t>(id));
		fields.add_uint64(perfetto::Clock::kTimestamp, time);
		add_message(message, perfetto::ClockSnapshot::kClocks, reading);
	};
	add_clock(perfetto::BuiltinClock::kRealtime, clock.realtime);
	add_clock(perfetto::BuiltinClock::kMonotonic, clock.monotonic);
	add_clock(perfetto::BuiltinClock::kBoottime, clock.boottime);
	const auto primary = in_realtime_ ? perfetto::BuiltinClock::kRealtime :
					    perfetto::BuiltinClock::kBoottime;
	message.add_enum(perfetto::ClockSnapshot::kPrimaryTraceClock,
			 static_cast<std::int32_t>(primary));
	std::string packet;
	Writer writer(packet);
	writer.add_uint64(perfetto::TracePacket::kTimestamp,
			  in_realtime_ ? clock.realtime : clock.boottime);
	if (in_realtime_)
		writer.add_uint32(perfetto::TracePacket::kTimestampClockId,
				  static_cast<std::uint32_t>(perfetto::BuiltinClock::kRealtime));
	add_message(writer, perfetto::TracePacket::kClockSnapshot, snapshot);
	put_packet(packet);
	put_machine();
}

void PerfettoTrace::put_machine()
{
	if (!machine_)
		return;
	const MachineDescription machine = *machine_;
	machine_.reset();
	constexpr std::int32_t kMinute = 60;
	std::string info;
	Writer message(info);
	std::string utsname;
	Writer names(utsname);
	add_text(names, perfetto::Utsname::kSysname, "Linux");
	add_text(names, perfetto::Utsname::kRelease, escaped(field_text(machine.kernel_release)));
	add_message(message, perfetto::SystemInfo::kUtsname, utsname);
	message.add_uint32(perfetto::SystemInfo::kPageSize, machine.page_size);
	if (clock_)
		message.add_int32(perfetto::SystemInfo::kTimezoneOffMins,
				  clock_->utc_offset / kMinute);
	message.add_uint32(perfetto::SystemInfo::kNumCpus, machine.cpus);
	std::string packet;
	Writer writer(packet);
	add_message(writer, perfetto::TracePacket::kSystemInfo, info);
	put_packet(packet);
}

void PerfettoTrace::put_track(TrackId track, TrackId parent, std::string_view descriptor)
{
	std::string fields(descriptor);
	Writer message(fields);
	message.add_uint64(perfetto::TrackDescriptor::kUuid, track);
	if (parent != kNoParent)
		message.add_uint64(perfetto::TrackDescriptor::kParentUuid, parent);
	std::string packet;
	Writer writer(packet);
	add_message(writer, perfetto::TracePacket::kTrackDescriptor, fields);
	put_packet(packet);
}

TrackId PerfettoTrace::group(TrackId parent, std::string_view name)
{
	const TrackId track = hash_of(parent, "group", name);
	if (!is_new(track))
		return track;
	std::string descriptor;
	Writer message(descriptor);
	add_text(message, perfetto::TrackDescriptor::kName, name);
	put_track(track, parent, descriptor);
	return track;
}

TrackId PerfettoTrace::counters(TrackId parent, std::string_view name, TrackUnit unit)
{
	const TrackId track = hash_of(parent, "counters", name);
	if (!is_new(track))
		return track;
	const UnitRow row = row_of(unit);
	std::string counter;
	Writer fields(counter);
	if (row.unit != perfetto::CounterUnit::kUnspecified)
		fields.add_enum(perfetto::CounterDescriptor::kUnit,
				static_cast<std::int32_t>(row.unit));
	else
		add_text(fields, perfetto::CounterDescriptor::kUnitName, row.name);
	std::string descriptor;
	Writer message(descriptor);
	add_text(message, perfetto::TrackDescriptor::kName, name);
	add_message(message, perfetto::TrackDescriptor::kCounter, counter);
	put_track(track, parent, descriptor);
	return track;
}

TrackId PerfettoTrace::process(std::int32_t tgid, std::string_view name)
{
	const TrackId track = hash_of(kNoParent, "process", std::to_string(tgid));
	if (!is_new(track))
		return track;
	std::string process;
	Writer fields(process);
	fields.add_int32(perfetto::ProcessDescriptor::kPid, tgid);
	add_text(fields, perfetto::ProcessDescriptor::kProcessName, escaped(name));
	std::string descriptor;
	Writer message(descriptor);
	add_message(message, perfetto::TrackDescriptor::kProcess, process);
	put_track(track, kNoParent, descriptor);
	return track;
}

TrackId PerfettoTrace::thread(std::int32_t tgid, std::int32_t tid, std::string_view name)
{
	const TrackId track = hash_of(kNoParent, "thread", std::to_string(tid));
	if (!is_new(track))
		return track;
	std::string thread;
	Writer fields(thread);
	fields.add_int32(perfetto::ThreadDescriptor::kPid, tgid);
	fields.add_int32(perfetto::ThreadDescriptor::kTid, tid);
	add_text(fields, perfetto::ThreadDescriptor::kThreadName, escaped(name));
	std::string descriptor;
	Writer message(descriptor);
	add_message(message, perfetto::TrackDescriptor::kThread, thread);
	put_track(track, kNoParent, descriptor);
	return track;
}

void PerfettoTrace::put_time(Writer &packet, std::uint64_t time)
{
	if (!has_events_)
		in_realtime_ = !clock_;
	has_events_ = true;
	if (!in_realtime_ && clock_)
		return packet.add_uint64(perfetto::TracePacket::kTimestamp,
					 boottime_of(time, *clock_));
	packet.add_uint64(perfetto::TracePacket::kTimestamp,
			  std::min<std::uint64_t>(time, INT64_MAX));
	packet.add_uint32(perfetto::TracePacket::kTimestampClockId,
			  static_cast<std::uint32_t>(perfetto::BuiltinClock::kRealtime));
}

void PerfettoTrace::put_event(std::uint64_t time, std::string_view event)
{
	put_machine();
	std::string packet;
	Writer writer(packet);
	put_time(writer, time);
	if (!event_names_.fresh.empty() || !annotation_names_.fresh.empty()) {
		const std::string interned = event_names_.fresh + annotation_names_.fresh;
		add_message(writer, perfetto::TracePacket::kInternedData, interned);
		event_names_.fresh.clear();
		annotation_names_.fresh.clear();
	}
	add_message(writer, perfetto::TracePacket::kTrackEvent, event);
	put_packet(packet);
}

void PerfettoTrace::count(TrackId track, std::uint64_t time, std::int64_t value)
{
	std::string event;
	Writer message(event);
	message.add_enum(perfetto::TrackEvent::kType,
			 static_cast<std::int32_t>(perfetto::EventType::kCounter));
	message.add_uint64(perfetto::TrackEvent::kTrackUuid, track);
	message.add_int64(perfetto::TrackEvent::kCounterValue, value);
	put_event(time, event);
}

void PerfettoTrace::count(TrackId track, std::uint64_t time, double value)
{
	std::string event;
	Writer message(event);
	message.add_enum(perfetto::TrackEvent::kType,
			 static_cast<std::int32_t>(perfetto::EventType::kCounter));
	message.add_uint64(perfetto::TrackEvent::kTrackUuid, track);
	message.add_double(perfetto::TrackEvent::kDoubleCounterValue, value);
	put_event(time, event);
}

std::uint64_t PerfettoTrace::Names::number_of(std::string_view name, perfetto::Tag field)
{
	const auto [entry, is_fresh] = numbers.try_emplace(std::string(name), numbers.size() + 1);
	if (is_fresh) {
		std::string interned;
		Writer fields(interned);
		fields.add_uint64(perfetto::InternedName::kIid, entry->second);
		add_text(fields, perfetto::InternedName::kName, name);
		Writer message(fresh);
		add_message(message, field, interned);
	}
	return entry->second;
}

void PerfettoTrace::put_named_event(perfetto::EventType type, TrackId track, std::uint64_t time,
				    std::string_view name, std::span<const Annotation> annotations)
{
	std::string event;
	Writer message(event);
	for (const Annotation &annotation : annotations) {
		std::string fields;
		Writer value(fields);
		value.add_uint64(
			perfetto::DebugAnnotation::kNameIid,
			annotation_names_.number_of(annotation.name,
						    perfetto::InternedData::kDebugAnnotationNames));
		if (const auto *number = std::get_if<std::uint64_t>(&annotation.value))
			value.add_uint64(perfetto::DebugAnnotation::kUintValue, *number);
		else
			add_text(value, perfetto::DebugAnnotation::kStringValue,
				 std::get<std::string_view>(annotation.value));
		add_message(message, perfetto::TrackEvent::kDebugAnnotations, fields);
	}
	message.add_enum(perfetto::TrackEvent::kType, static_cast<std::int32_t>(type));
	message.add_uint64(perfetto::TrackEvent::kNameIid,
			   event_names_.number_of(name, perfetto::InternedData::kEventNames));
	message.add_uint64(perfetto::TrackEvent::kTrackUuid, track);
	put_event(time, event);
}

void PerfettoTrace::begin(TrackId track, std::uint64_t time, std::string_view name,
			  std::span<const Annotation> annotations)
{
	put_named_event(perfetto::EventType::kSliceBegin, track, time, name, annotations);
}

void PerfettoTrace::instant(TrackId track, std::uint64_t time, std::string_view name,
			    std::span<const Annotation> annotations)
{
	put_named_event(perfetto::EventType::kInstant, track, time, name, annotations);
}

void PerfettoTrace::end(TrackId track, std::uint64_t time)
{
	std::string event;
	Writer message(event);
	message.add_enum(perfetto::TrackEvent::kType,
			 static_cast<std::int32_t>(perfetto::EventType::kSliceEnd));
	message.add_uint64(perfetto::TrackEvent::kTrackUuid, track);
	put_event(time, event);
}

} // namespace zemctl
