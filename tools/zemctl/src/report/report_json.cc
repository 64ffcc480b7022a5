// SPDX-License-Identifier: GPL-2.0
/*
 * Writes the data of a report as JSON.
 */
#include "report/report_json.h"

#include <algorithm>
#include <functional>
#include <set>
#include <span>
#include <vector>

#include "decode/io.h"
#include "records/channels.h"
#include "text/text.h"

namespace zemctl {

namespace {

constexpr std::uint64_t kMillisecond = 1'000'000; /* ns */
constexpr std::size_t kTasksMax = 300;

using Kept = std::function<bool(std::uint32_t)>;

bool keep_all(std::uint32_t)
{
	return true;
}

std::uint64_t milliseconds_from(std::uint64_t start, std::uint64_t time)
{
	return time <= start ? 0 : (time - start) / kMillisecond;
}

/* A list of rows: [time, intervals, [thing, value, ...], ...]. Rows are in the order of their time.
 */
template <std::size_t columns>
void table_json(const IntervalTable<columns> &table, std::uint64_t start, const Kept &is_kept,
		JsonWriter &json)
{
	using Row = typename IntervalTable<columns>::Row;
	std::vector<const Row *> rows;
	for (const Row &row : table.rows())
		rows.push_back(&row);
	std::ranges::stable_sort(rows, {}, [](const Row *row) { return row->time; });
	json.begin_array();
	for (const Row *row : rows) {
		json.begin_array();
		json.count(milliseconds_from(start, row->time));
		json.count(row->intervals);
		for (const auto &[thing, values] : row->values) {
			if (!is_kept(thing))
				continue;
			json.begin_array();
			json.count(thing);
			for (const std::uint64_t value : values)
				json.count(value);
			json.end_array();
		}
		json.end_array();
	}
	json.end_array();
}

/* The tasks with the largest first value. */
template <std::size_t columns>
void keep_largest(const IntervalTable<columns> &table, std::set<std::uint32_t> &kept)
{
	std::vector<std::pair<std::uint64_t, std::uint32_t>> order;
	for (const auto &[thing, values] : table.totals())
		order.emplace_back(values[0], thing);
	std::ranges::sort(order, std::greater());
	for (const auto &[value, thing] : std::span(order).first(std::min(order.size(), kTasksMax)))
		kept.insert(thing);
}

void machine_json(const ReportData &data, JsonWriter &json)
{
	if (data.machine) {
		json.begin_object("machine");
		json.name("kernel", field_text(data.machine->kernel_release));
		json.name("model", field_text(data.machine->model));
		json.name("boot_id", field_text(data.machine->boot_id));
		json.number("cpus", data.machine->cpus);
		json.end_object();
	}
	json.begin_array("cpus");
	for (const auto &[number, cpu] : data.cpus) {
		json.begin_array();
		json.count(std::uint64_t{number});
		json.count(std::uint64_t{cpu.cluster});
		json.count(std::uint64_t{cpu.capacity});
		json.end_array();
	}
	json.end_array();
}

void tasks_json(const ReportData &data, const std::set<std::uint32_t> &kept, JsonWriter &json)
{
	json.begin_object("tasks");
	for (const std::uint32_t number : kept) {
		const ReportTask &task = data.tasks.all()[number];
		json.key(std::to_string(number));
		json.begin_object();
		json.number("tgid", task.tgid);
		json.number("pid", task.pid);
		json.name("comm", task.comm);
		json.name("package", task.package);
		json.end_object();
	}
	json.end_object();
	json.count("tasks_left_out", data.tasks.all().size() - kept.size());
}

void events_json(std::string_view key, const std::vector<ReportEvent> &events, std::uint64_t start,
		 JsonWriter &json)
{
	json.key(key);
	json.begin_array();
	for (const ReportEvent &event : events) {
		json.begin_object();
		json.count("t", milliseconds_from(start, event.time));
		json.name("text", event.text);
		json.end_object();
	}
	json.end_array();
}

void channels_json(const ReportData &data, JsonWriter &json)
{
	json.begin_array("channels");
	for (std::size_t id = 0; id < data.channels.size(); id++) {
		json.begin_object();
		json.plain_text("name", kChannelNames[id]);
		json.count("records", data.channels[id].records);
		json.count("bytes", data.channels[id].bytes);
		json.end_object();
	}
	json.end_array();
}

void histograms_json(JsonWriter &json)
{
	json.begin_array("histograms");
	for (const SchedHistogram &histogram : kSchedHistograms) {
		json.begin_object();
		json.plain_text("title", histogram.title);
		json.counts("bounds_us", histogram.bounds);
		json.end_object();
	}
	json.end_array();
}

void names_json(const ReportData &data, JsonWriter &json)
{
	json.begin_array("groups");
	for (const std::string &name : data.group_names)
		json.name(name);
	json.end_array();
	json.begin_array("disks");
	for (const std::string_view path : kIoDevices)
		json.name(path);
	json.end_array();
	json.begin_object("packages");
	for (const auto &[uid, values] : data.uids.totals()) {
		const auto package = data.packages.find(uid);
		if (package == data.packages.end())
			continue;
		json.key(std::to_string(uid));
		json.name(package->second);
	}
	json.end_object();
}

} // namespace

void report_json(const ReportData &data, const ReportHead &head, JsonWriter &json)
{
	const std::uint64_t start = std::min(data.start, data.end);
	std::set<std::uint32_t> kept;
	keep_largest(data.load, kept);
	keep_largest(data.svp, kept);
	json.begin_object();
	json.name("file", head.file);
	json.text("zemctl", ZEMCTL_VERSION);
	json.plain_text("end", head.end);
	json.count("records", head.records);
	json.count("start_ms", start / kMillisecond);
	json.count("length_ms", milliseconds_from(start, data.end));
	json.number("utc_offset_s", data.clock ? data.clock->utc_offset : 0);
	machine_json(data, json);
	channels_json(data, json);
	names_json(data, json);
	histograms_json(json);
	tasks_json(data, kept, json);
	events_json("losses", data.losses, start, json);
	json.count("more_losses", data.more_losses);
	events_json("usb", data.usb, start, json);
	const auto table = [&](std::string_view key, const auto &values, const Kept &is_kept) {
		json.key(key);
		table_json(values, start, is_kept, json);
	};
	const Kept is_kept = [&kept](std::uint32_t task) {
		return kept.contains(task);
	};
	json.begin_object("tables");
	table("rate", data.rate, keep_all);
	table("cpu", data.cpu, keep_all);
	table("load", data.load, is_kept);
	table("svp", data.svp, is_kept);
	table("groups", data.groups, keep_all);
	table("disks", data.disks, keep_all);
	table("uids", data.uids, keep_all);
	table("sched", data.sched, keep_all);
	json.end_object();
	json.end_object();
}

} // namespace zemctl
