// SPDX-License-Identifier: GPL-2.0
/*
 * The counters of the svp records.
 */
#include "metrics/svp_sums.h"

#include "metrics/task_labels.h"
#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::array<std::string_view, 2> kDirectionNames = {"read", "write"};

/* "1-8", and "134-" for the last range. */
std::string range_of(std::span<const std::uint32_t> bounds, std::size_t bucket)
{
	const auto milliseconds = [&bounds](std::size_t i) {
		return bounds[i] / 1000;
	};
	const std::uint32_t from = bucket == 0 ? 0 : milliseconds(bucket - 1);
	if (bucket == bounds.size())
		return fmt::format("{}-", from);
	return fmt::format("{}-{}", from, milliseconds(bucket));
}

} // namespace

SvpSums::SvpSums() : tasks_(kTasks, other_tasks())
{
}

void SvpSums::add(const zem_svp &svp, std::uint64_t time, Adder &adder)
{
	const zem_svp_stats &stats = svp.stats;
	const std::uint64_t weight = stats.runtime_total / 2 + stats.run_delay_total / 4 +
				     stats.d_state_duration_total / 4;
	Task &task =
		tasks_.at(task_labels(field_text(svp.thread_name), field_text(svp.package_name)),
			  weight, time);
	task.runtime.add(stats.runtime, stats.runtime_total, adder);
	task.run_delay.add(stats.run_delay, stats.run_delay_total, adder);
	task.d_state.add(stats.d_state_duration, stats.d_state_duration_total, adder);
	adder.add(task.iowait, stats.iowait_total);
	task.iowaits += stats.iowait_total_cnt;
	task.long_ui_iowaits += stats.ui_iowait_long_cnt;
	adder.add(task.coldstart, stats.iowait_coldstart);
	task.coldstart_waits += stats.iowait_coldstart_cnt;
	adder.add(task.call_bytes[0], stats.read_bytes);
	adder.add(task.call_bytes[1], stats.write_bytes);
	task.calls[0] += stats.read_syscall_cnt;
	task.calls[1] += stats.write_syscall_cnt;
	adder.add(task.bio_bytes[0], stats.bio_read_size);
	adder.add(task.bio_bytes[1], stats.bio_write_size);
	adder.add(task.bio_time[0], stats.bio_read_time);
	adder.add(task.bio_time[1], stats.bio_write_time);
	task.bios[0] += stats.bio_read_cnt;
	task.bios[1] += stats.bio_write_cnt;
	for (std::size_t i = 0; i < ZEM_LATENCY_BUCKETS; i++) {
		for (std::size_t row = 0; row < kSvpMemoryRows.size(); row++)
			memory_[row][i] += (stats.*kSvpMemoryRows[row].counts)[i];
		iowaits_[i] += stats.iowait_duration[i];
	}
	for (std::size_t order = 0; order < ZEM_ALLOC_ORDERS; order++)
		failures_[order] += stats.alloc_fail_order[order];
}

template <typename Value>
void SvpSums::write_tasks(MetricWriter &writer, Metric metric, std::uint64_t start,
			  const Value &value) const
{
	writer.begin(metric);
	tasks_.for_each(start, [&](const Labels &labels, const Task &task, std::uint64_t created) {
		writer.counter(labels, task.*value, created);
	});
}

template <typename Value>
void SvpSums::write_directions(MetricWriter &writer, Metric metric, std::uint64_t start,
			       const Value &values) const
{
	writer.begin(metric);
	tasks_.for_each(start, [&](const Labels &labels, const Task &task, std::uint64_t created) {
		for (std::size_t i = 0; i < kDirections; i++)
			writer.counter(Labels(labels).add("direction", kDirectionNames[i]),
				       (task.*values)[i], created);
	});
}

void SvpSums::write(MetricWriter &writer, std::uint64_t start) const
{
	const auto histogram = [&](Metric metric, HistogramSums<4> Task::*sums,
				   std::span<const std::uint32_t, 3> bounds) {
		writer.begin(metric);
		tasks_.for_each(start, [&](const Labels &labels, const Task &task,
					   std::uint64_t created) {
			writer.histogram(labels, (task.*sums).values(bounds), created);
		});
	};
	histogram(Metric::kTaskRuntime, &Task::runtime, kSvpRuntimeBounds);
	histogram(Metric::kTaskRunDelay, &Task::run_delay, kSvpRunDelayBounds);
	histogram(Metric::kTaskDState, &Task::d_state, kSvpDStateBounds);
	write_tasks(writer, Metric::kTaskIoWait, start, &Task::iowait);
	write_tasks(writer, Metric::kTaskIoWaits, start, &Task::iowaits);
	write_tasks(writer, Metric::kTaskLongUiIoWaits, start, &Task::long_ui_iowaits);
	write_tasks(writer, Metric::kTaskColdStartIoWait, start, &Task::coldstart);
	write_tasks(writer, Metric::kTaskColdStartIoWaits, start, &Task::coldstart_waits);
	write_directions(writer, Metric::kTaskCallBytes, start, &Task::call_bytes);
	write_directions(writer, Metric::kTaskCalls, start, &Task::calls);
	write_directions(writer, Metric::kTaskBioBytes, start, &Task::bio_bytes);
	write_directions(writer, Metric::kTaskBioTime, start, &Task::bio_time);
	write_directions(writer, Metric::kTaskBios, start, &Task::bios);
	write_waits(writer, start);
}

void SvpSums::write_waits(MetricWriter &writer, std::uint64_t start) const
{
	writer.begin(Metric::kSvpMemoryWaits);
	for (std::size_t row = 0; row < kSvpMemoryRows.size(); row++) {
		for (std::size_t i = 0; i < ZEM_LATENCY_BUCKETS; i++)
			writer.counter(Labels().add("kind", kSvpMemoryRows[row].name)
					       .add("milliseconds", range_of(kSvpMemoryBounds, i)),
				       memory_[row][i], start);
	}
	writer.begin(Metric::kSvpIoWaits);
	for (std::size_t i = 0; i < ZEM_LATENCY_BUCKETS; i++)
		writer.counter(Labels().add("milliseconds", range_of(kSvpIowaitBounds, i)),
			       iowaits_[i], start);
	writer.begin(Metric::kSvpAllocationFailures);
	for (std::size_t order = 0; order < ZEM_ALLOC_ORDERS; order++)
		writer.counter(Labels().add("order", order), failures_[order], start);
}

} // namespace zemctl
