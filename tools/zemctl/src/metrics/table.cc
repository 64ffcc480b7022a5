// SPDX-License-Identifier: GPL-2.0
/*
 * The metrics.
 */
#include "metrics/table.h"

#include <array>
#include <iterator>

#include <fmt/format.h>

namespace zemctl {

namespace {

using enum MetricType;
using enum MetricUnit;

constexpr std::string_view kTask = "comm,package";

constexpr std::array kMetricFamilies = {
	MetricFamily{Metric::kBuild, "zem_build", kInfo, kNone, "version", "zemctl",
		     "The version of zemctl that keeps these metrics."},
	MetricFamily{Metric::kRecords, "zem_records", kCounter, kNone, "channel", "all",
		     "Records that were read."},
	MetricFamily{Metric::kRecordBytes, "zem_record_bytes", kCounter, kBytes, "channel", "all",
		     "Size of the records that were read, with their headers."},
	MetricFamily{Metric::kUndecodedRecords, "zem_undecoded_records", kCounter, kNone, "channel",
		     "all",
		     "Records of an unusual size, which the other metrics of their channel lack."},
	MetricFamily{Metric::kSkippedValues, "zem_skipped_values", kCounter, kNone, "", "all",
		     "Differences that were skipped because their sums were reset in between."},
	MetricFamily{Metric::kLastRecord, "zem_last_record_timestamp_seconds", kGauge, kSeconds,
		     "channel", "all", "Time of the latest record, since the epoch."},
	MetricFamily{Metric::kGaps, "zem_gaps", kCounter, kNone, "", "loss",
		     "Places at which records are missing, or may be missing."},
	MetricFamily{Metric::kLostBytes, "zem_lost_bytes", kCounter, kBytes, "", "loss",
		     "Size of the records that were lost in the shared buffer."},
	MetricFamily{Metric::kMissingRecords, "zem_missing_records", kCounter, kNone, "cause",
		     "loss",
		     "Records that were lost in the kernel, dropped by a slow recorder, or are in "
		     "damaged parts of a capture."},
	MetricFamily{Metric::kModulePushed, "zem_module_records_pushed", kCounter, kNone, "",
		     "module", "Records that producers pushed since the module was loaded."},
	MetricFamily{Metric::kModuleLost, "zem_module_records_lost", kCounter, kNone, "cause",
		     "module", "Records that the kernel lost since the module was loaded."},
	MetricFamily{Metric::kModuleNotifyTimeouts, "zem_module_notify_timeouts", kCounter, kNone,
		     "", "module",
		     "Notifications that no reader answered in time since the module was loaded."},
	MetricFamily{Metric::kModuleEmptyPasses, "zem_module_empty_passes", kCounter, kNone, "",
		     "module",
		     "Passes of the consumer that found no record since the module was loaded."},
	MetricFamily{Metric::kModuleRefusals, "zem_module_refusals", kCounter, kNone, "subject",
		     "module",
		     "Users and tasks that a full table refused since the module was loaded."},
	MetricFamily{Metric::kCpuCycles, "zem_cpu_cycles", kCounter, kNone, "cpu", "cpu",
		     "Running total of the activity counter of the CPU."},
	MetricFamily{Metric::kCpuUsage, "zem_cpu_usage_ratio", kGauge, kRatio, "cpu", "cpu",
		     "Capacity of the CPU in use in the latest interval; 1 is the full capacity of "
		     "a big CPU."},
	MetricFamily{Metric::kLoadRuntime, "zem_load_runtime_seconds", kCounter, kSeconds, "",
		     "load", "Time that the tasks of all load records ran."},
	MetricFamily{Metric::kProcessRuntime, "zem_process_runtime_seconds", kCounter, kSeconds,
		     kTask, "load",
		     "Time that tasks of this name ran; only that of the first thread of each "
		     "process unless threads are reported."},
	MetricFamily{Metric::kProcessUsage, "zem_process_usage_ratio", kGauge, kRatio, kTask,
		     "load",
		     "Average capacity that processes of this name used in the latest interval; 1 "
		     "is the full capacity of a big CPU."},
	MetricFamily{Metric::kIrq, "zem_irq_seconds", kHistogram, kSeconds, "", "sched",
		     "Durations of hard interrupts."},
	MetricFamily{Metric::kIrqCpu, "zem_irq_cpu_seconds", kCounter, kSeconds, "cpu", "sched",
		     "Time of the CPU in hard interrupts."},
	MetricFamily{Metric::kSvpRuntime, "zem_svp_runtime_seconds", kHistogram, kSeconds, "",
		     "sched", "Durations of SVP tasks on a CPU."},
	MetricFamily{Metric::kSvpRuntimeCpu, "zem_svp_runtime_cpu_seconds", kCounter, kSeconds,
		     "cpu", "sched", "Time that SVP tasks ran on the CPU."},
	MetricFamily{Metric::kSvpRunDelay, "zem_svp_run_delay_seconds", kHistogram, kSeconds, "",
		     "sched", "Durations of the waits of SVP tasks for a CPU."},
	MetricFamily{Metric::kSvpRunDelayCpu, "zem_svp_run_delay_cpu_seconds", kCounter, kSeconds,
		     "cpu", "sched", "Time that SVP tasks waited for the CPU."},
	MetricFamily{Metric::kSvpDState, "zem_svp_blocked_seconds", kHistogram, kSeconds, "",
		     "sched", "Durations of the uninterruptible sleeps of SVP tasks."},
	MetricFamily{Metric::kSvpDStateCpu, "zem_svp_blocked_cpu_seconds", kCounter, kSeconds,
		     "cpu", "sched",
		     "Time of the uninterruptible sleeps of SVP tasks that ended on the CPU."},
	MetricFamily{Metric::kTaskRuntime, "zem_svp_task_runtime_seconds", kHistogram, kSeconds,
		     kTask, "svp", "Durations of the task on a CPU."},
	MetricFamily{Metric::kTaskRunDelay, "zem_svp_task_run_delay_seconds", kHistogram, kSeconds,
		     kTask, "svp", "Durations of the waits of the task for a CPU."},
	MetricFamily{Metric::kTaskDState, "zem_svp_task_blocked_seconds", kHistogram, kSeconds,
		     kTask, "svp", "Durations of the uninterruptible sleeps of the task."},
	MetricFamily{Metric::kTaskIoWait, "zem_svp_task_io_wait_seconds", kCounter, kSeconds, kTask,
		     "svp", "Time that the task waited for IO."},
	MetricFamily{Metric::kTaskIoWaits, "zem_svp_task_io_waits", kCounter, kNone, kTask, "svp",
		     "IO waits of the task."},
	MetricFamily{Metric::kTaskLongUiIoWaits, "zem_svp_task_long_ui_io_waits", kCounter, kNone,
		     kTask, "svp",
		     "IO waits of a UI task longer than 5 ms, while no app was starting."},
	MetricFamily{Metric::kTaskColdStartIoWait, "zem_svp_task_cold_start_io_wait_seconds",
		     kCounter, kSeconds, kTask, "svp",
		     "Time that the task waited for IO during the cold start of an app."},
	MetricFamily{Metric::kTaskColdStartIoWaits, "zem_svp_task_cold_start_io_waits", kCounter,
		     kNone, kTask, "svp", "IO waits of the task during the cold start of an app."},
	MetricFamily{Metric::kTaskCallBytes, "zem_svp_task_call_bytes", kCounter, kBytes,
		     "comm,package,direction", "svp",
		     "Bytes that system calls of the task read and wrote."},
	MetricFamily{Metric::kTaskCalls, "zem_svp_task_calls", kCounter, kNone,
		     "comm,package,direction", "svp",
		     "System calls of the task that read or wrote."},
	MetricFamily{Metric::kTaskBioBytes, "zem_svp_task_bio_bytes", kCounter, kBytes,
		     "comm,package,direction", "svp",
		     "Bytes that the task read from devices and wrote to them."},
	MetricFamily{Metric::kTaskBioTime, "zem_svp_task_bio_seconds", kCounter, kSeconds,
		     "comm,package,direction", "svp",
		     "Times of the bios of the task from issue to completion, summed."},
	MetricFamily{Metric::kTaskBios, "zem_svp_task_bios", kCounter, kNone,
		     "comm,package,direction", "svp", "Bios of the task."},
	MetricFamily{Metric::kSvpMemoryWaits, "zem_svp_memory_waits", kCounter, kNone,
		     "kind,milliseconds", "svp",
		     "Waits of all SVP tasks for memory, by kind and duration."},
	MetricFamily{Metric::kSvpIoWaits, "zem_svp_io_waits", kCounter, kNone, "milliseconds",
		     "svp", "IO waits of all SVP tasks, by duration."},
	MetricFamily{Metric::kSvpAllocationFailures, "zem_svp_allocation_failures", kCounter, kNone,
		     "order", "svp", "Failed page allocations of all SVP tasks, by order."},
	MetricFamily{Metric::kCgroupRunDelay, "zem_cgroup_run_delay_seconds", kCounter, kSeconds,
		     "group", "cgroup", "Time that the tasks of the group waited for a CPU."},
	MetricFamily{Metric::kCgroupDState, "zem_cgroup_blocked_seconds", kCounter, kSeconds,
		     "group,kind", "cgroup",
		     "Time that the tasks of the group were in uninterruptible sleep."},
	MetricFamily{Metric::kDiskIos, "zem_disk_ios", kCounter, kNone, "device,direction", "kio",
		     "Reads and writes that the device completed since boot."},
	MetricFamily{Metric::kDiskMerges, "zem_disk_merges", kCounter, kNone, "device,direction",
		     "kio", "Reads and writes that were merged since boot."},
	MetricFamily{Metric::kDiskBytes, "zem_disk_bytes", kCounter, kBytes, "device,direction",
		     "kio", "Bytes that were read and written since boot."},
	MetricFamily{Metric::kDiskTime, "zem_disk_seconds", kCounter, kSeconds, "device,direction",
		     "kio", "Time that the device spent on reads and writes since boot."},
	MetricFamily{Metric::kDiskBusy, "zem_disk_busy_seconds", kCounter, kSeconds, "device",
		     "kio", "Time with IO in flight since boot."},
	MetricFamily{Metric::kDiskBios, "zem_disk_bios", kCounter, kNone,
		     "device,class,milliseconds", "kio",
		     "Bios by class and by nominal time per 4 KiB. The ranges overlap and have a "
		     "hole, see docs/records.md."},
	MetricFamily{
		Metric::kBioPageTime, "zem_bio_page_seconds", kCounter, kSeconds, "class", "kio",
		"Times of the bios of all devices, each divided by its size in 4 KiB, summed."},
	MetricFamily{Metric::kBios, "zem_bios", kCounter, kNone, "kind", "kio",
		     "Bios of all devices."},
	MetricFamily{Metric::kBioBytes, "zem_bio_bytes", kCounter, kBytes, "kind", "kio",
		     "Size of the bios of all devices."},
	MetricFamily{Metric::kBiosByState, "zem_bios_by_state", kCounter, kNone, "state", "kio",
		     "Bios of apps in the foreground, and other bios."},
	MetricFamily{Metric::kReadBiosBySize, "zem_read_bios_by_size", kCounter, kNone, "pages",
		     "kio", "Reads by size in 4 KiB pages."},
	MetricFamily{Metric::kUidBytes, "zem_uid_io_bytes", kCounter, kBytes, "uid,direction,state",
		     "kio", "Bytes that the user read from devices and wrote to them."},
	MetricFamily{Metric::kUidBios, "zem_uid_bios", kCounter, kNone, "uid,state", "kio",
		     "Bios that the user submitted."},
	MetricFamily{Metric::kUidIoWait, "zem_uid_io_wait_seconds", kCounter, kSeconds, "uid",
		     "kio", "Time that tasks of the user waited for IO."},
	MetricFamily{Metric::kUidWriteCallBytes, "zem_uid_write_call_bytes", kCounter, kBytes,
		     "uid,kind", "kio",
		     "Bytes that system calls of the user wrote, by their data semantics."},
	MetricFamily{Metric::kUidReadCalls, "zem_uid_read_calls", kCounter, kNone, "uid", "kio",
		     "Reads of the user."},
	MetricFamily{Metric::kZeroPages, "zem_zero_pages", kCounter, kNone, "event", "kzerod",
		     "Running totals of the zero-page daemon."},
	MetricFamily{Metric::kUsbEvents, "zem_usb_events", kCounter, kNone, "event", "usb",
		     "Events of USB devices."},
	MetricFamily{Metric::kServerClients, "zem_server_clients", kGauge, kNone, "", "server",
		     "Programs that read the stream of records."},
	MetricFamily{Metric::kServerRefusedClients, "zem_server_refused_clients", kCounter, kNone,
		     "", "server", "Connections that were refused because there were too many."},
	MetricFamily{
		Metric::kServerDroppedRecords, "zem_server_dropped_records", kCounter, kNone, "",
		"server",
		"Records that clients of the stream did not get because they read too slowly."},
	MetricFamily{Metric::kServerRequests, "zem_server_requests", kCounter, kNone, "code",
		     "server", "HTTP requests, by the code of the response."},
};

static_assert(kMetricFamilies.size() == static_cast<std::size_t>(Metric::kCount));

constexpr bool rows_are_in_order()
{
	for (std::size_t i = 0; i < kMetricFamilies.size(); i++) {
		if (kMetricFamilies[i].metric != static_cast<Metric>(i))
			return false;
	}
	return true;
}

static_assert(rows_are_in_order());

constexpr std::string_view suffix_of(MetricType type)
{
	switch (type) {
	case kCounter:
		return "_total";
	case kInfo:
		return "_info";
	case kGauge:
	case kHistogram:
		break;
	}
	return "";
}

} // namespace

std::span<const MetricFamily> metric_families()
{
	return kMetricFamilies;
}

const MetricFamily &family_of(Metric metric)
{
	return kMetricFamilies[static_cast<std::size_t>(metric)];
}

std::string_view name_of(MetricType type)
{
	switch (type) {
	case kCounter:
		return "counter";
	case kGauge:
		return "gauge";
	case kHistogram:
		return "histogram";
	case kInfo:
		return "info";
	}
	return "";
}

std::string_view name_of(MetricUnit unit)
{
	switch (unit) {
	case kNone:
		return "";
	case kSeconds:
		return "seconds";
	case kBytes:
		return "bytes";
	case kRatio:
		return "ratio";
	}
	return "";
}

std::string metrics_markdown()
{
	std::string text = "| metric | type | labels | from | meaning |\n|---|---|---|---|---|\n";
	auto out = std::back_inserter(text);
	for (const MetricFamily &family : kMetricFamilies) {
		std::string labels;
		for (const char character : family.labels)
			labels += character == ',' ? std::string(", ") : std::string(1, character);
		fmt::format_to(out, "| `{}{}` | {} | {} | {} | {} |\n", family.name,
			       suffix_of(family.type), name_of(family.type), labels, family.source,
			       family.help);
	}
	return text;
}

} // namespace zemctl
