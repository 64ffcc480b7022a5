/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metrics that zemctl offers to monitoring systems: one row for each family, which its HELP
 * text and docs/metrics.md are written from.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zemctl {

enum class MetricType { kCounter, kGauge, kHistogram, kInfo };

/* The unit of values. The model keeps times in nanoseconds and everything else in its unit. */
enum class MetricUnit { kNone, kSeconds, kBytes, kRatio };

enum class Metric : std::size_t {
	kBuild,
	kRecords,
	kRecordBytes,
	kUndecodedRecords,
	kSkippedValues,
	kLastRecord,
	kGaps,
	kLostBytes,
	kMissingRecords,
	kModulePushed,
	kModuleLost,
	kModuleNotifyTimeouts,
	kModuleEmptyPasses,
	kModuleRefusals,
	kCpuCycles,
	kCpuUsage,
	kLoadRuntime,
	kProcessRuntime,
	kProcessUsage,
	kIrq,
	kIrqCpu,
	kSvpRuntime,
	kSvpRuntimeCpu,
	kSvpRunDelay,
	kSvpRunDelayCpu,
	kSvpDState,
	kSvpDStateCpu,
	kTaskRuntime,
	kTaskRunDelay,
	kTaskDState,
	kTaskIoWait,
	kTaskIoWaits,
	kTaskLongUiIoWaits,
	kTaskColdStartIoWait,
	kTaskColdStartIoWaits,
	kTaskCallBytes,
	kTaskCalls,
	kTaskBioBytes,
	kTaskBioTime,
	kTaskBios,
	kSvpMemoryWaits,
	kSvpIoWaits,
	kSvpAllocationFailures,
	kCgroupRunDelay,
	kCgroupDState,
	kDiskIos,
	kDiskMerges,
	kDiskBytes,
	kDiskTime,
	kDiskBusy,
	kDiskBios,
	kBioPageTime,
	kBios,
	kBioBytes,
	kBiosByState,
	kReadBiosBySize,
	kUidBytes,
	kUidBios,
	kUidIoWait,
	kUidWriteCallBytes,
	kUidReadCalls,
	kZeroPages,
	kUsbEvents,
	kServerClients,
	kServerRefusedClients,
	kServerDroppedRecords,
	kServerRequests,
	kCount,
};

struct MetricFamily {
	Metric metric;
	std::string_view name; /* without the suffix of its type */
	MetricType type;
	MetricUnit unit;
	std::string_view labels; /* separated by commas */
	std::string_view source; /* a channel, or another source */
	std::string_view help;
};

std::span<const MetricFamily> metric_families();

const MetricFamily &family_of(Metric metric);

std::string_view name_of(MetricType type);
/* Returns "" for kNone. */
std::string_view name_of(MetricUnit unit);

/* Returns the table of docs/metrics.md. */
std::string metrics_markdown();

} // namespace zemctl
