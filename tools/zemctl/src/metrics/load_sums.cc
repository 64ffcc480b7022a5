// SPDX-License-Identifier: GPL-2.0
/*
 * The load of CPUs and processes.
 */
#include "metrics/load_sums.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "metrics/task_labels.h"
#include "records/pass.h"
#include "text/text.h"

namespace zemctl {

namespace {

double ratio_of(std::uint64_t usage)
{
	return static_cast<double>(usage) / ZEM_CAPACITY_FULL;
}

} // namespace

LoadSums::LoadSums() : runtimes_(kProcesses, other_tasks())
{
}

void LoadSums::add(const zem_cpu &cpu)
{
	if (cpu.cpu < cpus_.size())
		cpus_[cpu.cpu] = cpu;
}

void LoadSums::add(const zem_load &load, std::uint64_t time, Adder &adder)
{
	const Labels labels = task_labels(field_text(load.comm), field_text(load.pkg));
	std::uint64_t runtime = 0;
	adder.add(runtime, load.runtime);
	runtime_ += runtime;
	runtimes_.at(labels, runtime, time) += runtime;
	if (!has_wrapped(load.usage))
		add_usage(labels, load.usage, time);
}

void LoadSums::add_usage(const Labels &labels, std::uint64_t usage, std::uint64_t time)
{
	if (is_of_other_pass(time, pass_)) {
		pass_ = time;
		usage_.clear();
		other_usage_ = 0;
	}
	const auto found = usage_.find(labels);
	if (found != usage_.end())
		found->second += usage;
	else if (usage_.size() < kNames && labels != other_tasks())
		usage_.emplace(labels, usage);
	else
		other_usage_ += usage;
}

void LoadSums::write(MetricWriter &writer, std::uint64_t start) const
{
	const auto for_each_cpu = [this](const auto &visit) {
		for (const auto &cpu : cpus_) {
			if (cpu)
				visit(Labels().add("cpu", cpu->cpu), *cpu);
		}
	};
	writer.begin(Metric::kCpuCycles);
	for_each_cpu([&](const Labels &labels, const zem_cpu &cpu) {
		writer.counter(labels, cpu.cycles);
	});
	writer.begin(Metric::kCpuUsage);
	for_each_cpu([&](const Labels &labels, const zem_cpu &cpu) {
		writer.gauge(labels, ratio_of(cpu.usage));
	});
	writer.begin(Metric::kLoadRuntime);
	writer.counter({}, runtime_, start);
	writer.begin(Metric::kProcessRuntime);
	runtimes_.for_each(start,
			   [&](const Labels &labels, std::uint64_t time, std::uint64_t created) {
				   writer.counter(labels, time, created);
			   });
	write_usage(writer);
}

void LoadSums::write_usage(MetricWriter &writer) const
{
	std::vector<std::pair<std::uint64_t, const Labels *>> order;
	order.reserve(usage_.size());
	for (const auto &[labels, usage] : usage_)
		order.emplace_back(usage, &labels);
	std::ranges::stable_sort(order, std::ranges::greater(),
				 [](const auto &entry) { return entry.first; });
	std::uint64_t other = other_usage_;
	writer.begin(Metric::kProcessUsage);
	for (std::size_t i = 0; i < order.size(); i++) {
		if (i < kProcesses)
			writer.gauge(*order[i].second, ratio_of(order[i].first));
		else
			other += order[i].first;
	}
	if (pass_ != 0)
		writer.gauge(other_tasks(), ratio_of(other));
}

} // namespace zemctl
