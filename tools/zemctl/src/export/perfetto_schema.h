/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The messages of Perfetto's trace format that zemctl writes, with the numbers of their fields.
 * They are those of perfetto_trace.proto; tests/perfetto/trace.proto has the same messages for
 * protoc.
 */
#pragma once

#include <cstdint>

#include <protozero/pbf_writer.hpp>

namespace zemctl::perfetto {

using Tag = protozero::pbf_tag_type;

namespace Trace {
inline constexpr Tag kPacket = 1; /* TracePacket */
}

namespace TracePacket {
inline constexpr Tag kClockSnapshot = 6;
inline constexpr Tag kTimestamp = 8; /* uint64 */
inline constexpr Tag kTrustedPacketSequenceId = 10; /* uint32 */
inline constexpr Tag kTrackEvent = 11;
inline constexpr Tag kInternedData = 12;
inline constexpr Tag kSequenceFlags = 13; /* uint32 */
inline constexpr Tag kSystemInfo = 45;
inline constexpr Tag kTimestampClockId = 58; /* uint32 */
inline constexpr Tag kTrackDescriptor = 60;
inline constexpr std::uint32_t kIncrementalStateCleared = 1;
inline constexpr std::uint32_t kNeedsIncrementalState = 2;
} // namespace TracePacket

namespace ClockSnapshot {
inline constexpr Tag kClocks = 1; /* Clock */
inline constexpr Tag kPrimaryTraceClock = 2; /* BuiltinClock */
} // namespace ClockSnapshot

namespace Clock {
inline constexpr Tag kClockId = 1; /* uint32 */
inline constexpr Tag kTimestamp = 2; /* uint64 */
} // namespace Clock

enum class BuiltinClock : std::uint32_t { kRealtime = 1, kMonotonic = 3, kBoottime = 6 };

namespace SystemInfo {
inline constexpr Tag kUtsname = 1;
inline constexpr Tag kPageSize = 6; /* uint32 */
inline constexpr Tag kTimezoneOffMins = 7; /* int32 */
inline constexpr Tag kNumCpus = 8; /* uint32 */
} // namespace SystemInfo

namespace Utsname {
inline constexpr Tag kSysname = 1;
inline constexpr Tag kRelease = 3;
} // namespace Utsname

namespace TrackDescriptor {
inline constexpr Tag kUuid = 1; /* uint64 */
inline constexpr Tag kName = 2;
inline constexpr Tag kProcess = 3; /* ProcessDescriptor */
inline constexpr Tag kThread = 4; /* ThreadDescriptor */
inline constexpr Tag kParentUuid = 5; /* uint64 */
inline constexpr Tag kCounter = 8; /* CounterDescriptor */
} // namespace TrackDescriptor

namespace ProcessDescriptor {
inline constexpr Tag kPid = 1; /* int32 */
inline constexpr Tag kProcessName = 6;
} // namespace ProcessDescriptor

namespace ThreadDescriptor {
inline constexpr Tag kPid = 1; /* int32 */
inline constexpr Tag kTid = 2; /* int32 */
inline constexpr Tag kThreadName = 5;
} // namespace ThreadDescriptor

namespace CounterDescriptor {
inline constexpr Tag kUnit = 3; /* CounterUnit */
inline constexpr Tag kUnitName = 6;
} // namespace CounterDescriptor

enum class CounterUnit : std::int32_t { kUnspecified = 0, kTimeNs = 1, kCount = 2, kSizeBytes = 3 };

namespace TrackEvent {
inline constexpr Tag kDebugAnnotations = 4;
inline constexpr Tag kType = 9; /* EventType */
inline constexpr Tag kNameIid = 10; /* uint64 */
inline constexpr Tag kTrackUuid = 11; /* uint64 */
inline constexpr Tag kCounterValue = 30; /* int64 */
inline constexpr Tag kDoubleCounterValue = 44; /* double */
} // namespace TrackEvent

enum class EventType : std::int32_t { kSliceBegin = 1, kSliceEnd = 2, kInstant = 3, kCounter = 4 };

namespace DebugAnnotation {
inline constexpr Tag kNameIid = 1; /* uint64 */
inline constexpr Tag kUintValue = 3; /* uint64 */
inline constexpr Tag kStringValue = 6;
} // namespace DebugAnnotation

namespace InternedData {
inline constexpr Tag kEventNames = 2; /* InternedName */
inline constexpr Tag kDebugAnnotationNames = 3; /* InternedName */
} // namespace InternedData

/* EventName and DebugAnnotationName have the same fields. */
namespace InternedName {
inline constexpr Tag kIid = 1; /* uint64 */
inline constexpr Tag kName = 2;
} // namespace InternedName

} // namespace zemctl::perfetto
