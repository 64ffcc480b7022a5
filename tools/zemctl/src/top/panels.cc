// SPDX-License-Identifier: GPL-2.0
/*
 * The parts of the screen of zemctl top.
 */
#include "top/panels.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "decode/histogram.h"
#include "decode/io.h"
#include "text/fit.h"
#include "text/text.h"
#include "text/words.h"
#include "top/cells.h"

namespace zemctl {

namespace {

constexpr std::size_t kLabelWidth = 11;

ftxui::Element row_label(std::string_view name, const TopStyle &style)
{
	return emphasised(ftxui::text(fitted(name, kLabelWidth)), style);
}

std::string age_text(std::string_view name, const std::optional<PassTimes> &times,
		     std::uint64_t now)
{
	if (!times)
		return fmt::format("  {} -", name);
	const std::uint64_t age = now > times->begin ? now - times->begin : 0;
	return fmt::format("  {} {}s", name, age / kSecondNs);
}

std::string losses_text(const TopLosses &losses)
{
	if (losses.are_none())
		return "nothing";
	std::string all;
	const auto add = [&all](const std::string &part) {
		all += (all.empty() ? "" : ", ") + part;
	};
	if (losses.kernel > 0)
		add(fmt::format("{} in the kernel", losses.kernel));
	if (losses.dropped > 0)
		add(fmt::format("{} in zemctl", losses.dropped));
	if (losses.gaps > 0)
		add(fmt::format("{} gaps ({} or more)", losses.gaps,
				size_text(static_cast<double>(losses.bytes))));
	return all;
}

} // namespace

ftxui::Element emphasised(ftxui::Element element, const TopStyle &style)
{
	return style.attributes ? ftxui::bold(std::move(element)) : element;
}

ftxui::Element title_bar(ftxui::Element element, const TopStyle &style)
{
	return style.attributes ? ftxui::inverted(std::move(element)) : element;
}

ftxui::Element coloured(ftxui::Element element, ftxui::Color colour, const TopStyle &style)
{
	return style.colour ? std::move(element) | ftxui::color(colour) : element;
}

ftxui::Elements record_lines(const TopView &view, std::size_t columns, const TopStyle &style)
{
	const std::string rate = fmt::format("{:.1f}/s  {}/s  {} in all", view.rate.records,
					     size_text(view.rate.bytes), view.records);
	std::string history;
	const std::uint64_t largest = *std::ranges::max_element(view.history);
	const std::size_t used = kLabelWidth + rate.size() + 2;
	const std::size_t shown = std::min(view.history.size(), columns - std::min(used, columns));
	for (std::size_t i = view.history.size() - shown; i < view.history.size(); i++)
		history += level(view.history[i], largest, style.bars);
	const std::string ages = "age of" + age_text("load", view.process_times, view.time) +
				 age_text("sched", view.sched_times, view.time) +
				 age_text("io", view.io_times, view.time) +
				 age_text("groups", view.group_times, view.time);
	ftxui::Element lost = ftxui::text(losses_text(view.losses));
	if (!view.losses.are_none())
		lost = coloured(std::move(lost), ftxui::Color::Red, style);
	return {
		ftxui::hbox({row_label("records", style), ftxui::text(rate), ftxui::filler(),
			     coloured(ftxui::text(history), ftxui::Color::Cyan, style)}),
		ftxui::hbox({row_label("lost", style), lost, ftxui::filler(), ftxui::text(ages)}),
	};
}

static ftxui::Element cluster_line(const TopCluster &cluster, std::size_t most_cpus,
				   std::size_t columns, const TopStyle &style)
{
	constexpr std::size_t kCpuWidth = 6; /* " 7:100" */
	std::uint64_t sum = 0;
	std::string cpus = "  cpu";
	for (const TopCpu &cpu : cluster.cpus) {
		sum += std::min(cpu.usage, std::uint64_t{1000} * ZEM_CAPACITY_FULL);
		cpus += fmt::format(
			"{:>{}}",
			fmt::format("{}:{:.0f}", cpu.cpu,
				    100 * static_cast<double>(cpu.usage) / ZEM_CAPACITY_FULL),
			kCpuWidth);
	}
	const std::uint64_t mean = sum / cluster.cpus.size();
	const std::string name = cluster.number ? fmt::format("cluster {}", *cluster.number) :
						  "CPUs";
	const std::string percent = fmt::format("{:>5} %  ", capacity_text(mean));
	const std::size_t rest = kLabelWidth + percent.size() + 5 + most_cpus * kCpuWidth;
	const std::size_t cells = std::max<std::size_t>(columns - std::min(rest, columns), 4);
	const std::string filled = bar(std::min<std::uint64_t>(mean, ZEM_CAPACITY_FULL),
				       ZEM_CAPACITY_FULL, cells, style.bars);
	return ftxui::hbox(
		{row_label(name, style), ftxui::text(percent),
		 coloured(ftxui::text(fitted(filled, cells)), ftxui::Color::Green, style),
		 ftxui::text(cpus)});
}

ftxui::Elements cluster_lines(const TopView &view, std::size_t columns, const TopStyle &style)
{
	if (view.clusters.empty())
		return {ftxui::hbox({row_label("CPUs", style), ftxui::text("no record yet")})};
	std::size_t most = 0;
	for (const TopCluster &cluster : view.clusters)
		most = std::max(most, cluster.cpus.size());
	ftxui::Elements lines;
	for (const TopCluster &cluster : view.clusters) {
		if (lines.size() < kClusterRows)
			lines.push_back(cluster_line(cluster, most, columns, style));
	}
	return lines;
}

static std::string sum_text(const TopHistogram &histogram)
{
	std::uint64_t count = 0;
	for (const std::uint32_t bucket : histogram.counts)
		count += bucket;
	return fmt::format("{} in {}", count, duration_text(histogram.time));
}

static ftxui::Element histogram_line(std::string_view name, const TopHistogram &histogram,
				     const SchedHistogram &kind, const TopStyle &style)
{
	const std::uint32_t largest = *std::ranges::max_element(histogram.counts);
	std::string levels;
	for (const std::uint32_t count : histogram.counts) {
		levels += level(count, largest, style.bars);
		levels += level(count, largest, style.bars);
	}
	return ftxui::hbox({
		row_label(name, style),
		ftxui::text(fmt::format("{:>8} ", bucket_label(kind.bounds, 0, kind.unit))),
		coloured(ftxui::text(fitted(levels, std::size_t{2} * ZEM_SCHED_BUCKETS)),
			 ftxui::Color::Yellow, style),
		ftxui::text(
			fmt::format(" {:<8}", bucket_label(kind.bounds, kSchedBounds, kind.unit))),
		ftxui::text("  " + sum_text(histogram)),
	});
}

/* Rows of kSchedHistograms. */
static const SchedHistogram &irq_kind()
{
	return kSchedHistograms[0];
}

static const SchedHistogram &run_delay_kind()
{
	return kSchedHistograms[2];
}

static_assert(kSchedHistograms[0].block == &zem_sched::irqtime);
static_assert(kSchedHistograms[2].block == &zem_sched::svp_rundelay);

ftxui::Elements histogram_lines(const TopView &view, const TopStyle &style)
{
	return {histogram_line("run delay", view.run_delay, run_delay_kind(), style),
		histogram_line("hard irqs", view.irq, irq_kind(), style)};
}

static ftxui::Element bucket_table(const TopHistogram &histogram, const SchedHistogram &kind,
				   std::size_t columns, const TopStyle &style)
{
	std::uint64_t sum = 0;
	for (const std::uint32_t count : histogram.counts)
		sum += count;
	std::vector<BarRow> rows;
	rows.reserve(histogram.counts.size());
	for (std::size_t i = 0; i < histogram.counts.size(); i++)
		rows.push_back({bucket_label(kind.bounds, i, kind.unit), histogram.counts[i],
				percent_of(histogram.counts[i], sum)});
	const std::uint64_t largest = *std::ranges::max_element(histogram.counts);
	const std::string table = bar_table(rows, largest, {columns, style.bars});
	const std::string title = fmt::format("{}: {}", kind.title, sum_text(histogram));
	ftxui::Elements lines = {emphasised(ftxui::text(fitted(title, columns)), style)};
	std::string_view rest = table;
	while (!rest.empty())
		lines.push_back(coloured(ftxui::text(fitted(take_line(rest), columns)),
					 ftxui::Color::Yellow, style));
	return ftxui::vbox(std::move(lines));
}

ftxui::Element histogram_tables(const TopView &view, std::size_t columns, const TopStyle &style)
{
	const std::size_t half = (columns - 2) / 2;
	return ftxui::hbox({bucket_table(view.run_delay, run_delay_kind(), half, style),
			    ftxui::text("  "), bucket_table(view.irq, irq_kind(), half, style)});
}

static constexpr std::size_t kCommWidth = 15;

ftxui::Element process_heading(TopSort sort, std::size_t columns, const TopStyle &style)
{
	const auto title = [&](TopSort of, std::size_t width, bool is_left) {
		const std::string_view name = kTopSorts[static_cast<std::size_t>(of)].title;
		ftxui::Element cell = ftxui::text(is_left ? fmt::format("{:<{}}", name, width) :
							    fmt::format("{:>{}}", name, width));
		return of == sort ? emphasised(std::move(cell), style) : cell;
	};
	ftxui::Elements cells = {title(TopSort::kPid, 7, false), title(TopSort::kUsage, 7, false)};
	for (const TopSort of :
	     {TopSort::kRuntime, TopSort::kRunDelay, TopSort::kDState, TopSort::kIoWait})
		cells.push_back(title(of, 8, false));
	cells.push_back(ftxui::text("  "));
	cells.push_back(title(TopSort::kName, kCommWidth + 2, true));
	cells.push_back(
		ftxui::text(fitted("PACKAGE", columns - std::min<std::size_t>(columns, 65))));
	return title_bar(ftxui::hbox(std::move(cells)), style);
}

ftxui::Element process_line(const TopProcess &process, std::size_t columns)
{
	const std::string numbers =
		fmt::format("{:>7} {:>6} {:>7} {:>7} {:>7} {:>7}  ", process.pid,
			    process.usage ? capacity_text(*process.usage) : "-",
			    duration_text(process.runtime), duration_text(process.run_delay),
			    duration_text(process.d_state), duration_text(process.iowait));
	const std::size_t used = numbers.size() + kCommWidth + 2;
	return ftxui::text(numbers + fitted(escaped(process.comm), kCommWidth) + "  " +
			   fitted(escaped(process.package), columns - std::min(columns, used)));
}

static ftxui::Element io_table(std::string_view heading, const std::vector<std::string> &rows,
			       std::size_t columns, const TopStyle &style)
{
	ftxui::Elements lines = {title_bar(ftxui::text(fitted(heading, columns)), style)};
	for (const std::string &row : rows) {
		if (lines.size() < kTableRows)
			lines.push_back(ftxui::text(fitted(row, columns)));
	}
	if (rows.empty())
		lines.push_back(ftxui::text(fitted("no record yet", columns)));
	return ftxui::vbox(std::move(lines));
}

static std::vector<std::string> disk_rows(const TopView &view)
{
	std::vector<std::string> rows;
	const std::optional<std::uint64_t> period = view.io_times ? view.io_times->period :
								    std::nullopt;
	for (std::size_t i = 0; view.io_times && i < kIoDevices.size(); i++) {
		const std::string_view path = kIoDevices[i];
		const std::string_view name = path.substr(path.rfind('/') + 1);
		if (!view.disks || !period) {
			rows.push_back(fmt::format("{:<8} {:>7} {:>7} {:>4}", name, "-", "-", "-"));
			continue;
		}
		const TopDisk &disk = (*view.disks)[i];
		const double seconds = static_cast<double>(*period) / 1e9;
		rows.push_back(fmt::format("{:<8} {:>7} {:>7} {:>3.0f}%", name,
					   size_text(static_cast<double>(disk.read) / seconds),
					   size_text(static_cast<double>(disk.written) / seconds),
					   100 * static_cast<double>(disk.busy) /
						   static_cast<double>(*period)));
	}
	return rows;
}

/* From this width on the users have packages. */
static constexpr std::size_t kUsersWithPackages = 33;

static std::vector<std::string> user_rows(const TopView &view, std::size_t columns)
{
	std::vector<std::string> rows;
	for (const TopUser &user : view.users) {
		if (user.bytes == 0 && user.iowait == 0)
			continue;
		rows.push_back(fmt::format("{:>7} {:>6} {:>6}", user.uid,
					   size_text(static_cast<double>(user.bytes)),
					   duration_text(user.iowait)));
		if (columns >= kUsersWithPackages)
			rows.back() += "  " + escaped(user.package);
	}
	if (rows.empty() && view.io_times)
		rows.emplace_back("no IO");
	return rows;
}

static std::vector<std::string> group_rows(const TopView &view)
{
	std::vector<std::string> rows;
	rows.reserve(view.groups.size());
	for (const TopGroup &group : view.groups)
		rows.push_back(fitted(escaped(group.name), 5) +
			       fmt::format(" {:>6} {:>6} {:>6}",
					   duration_text(std::optional(group.run_delay)),
					   duration_text(std::optional(group.d_io)),
					   duration_text(std::optional(group.d_other))));
	return rows;
}

ftxui::Element io_and_groups(const TopView &view, std::size_t columns, const TopStyle &style)
{
	constexpr std::size_t kDisks = 29;
	constexpr std::size_t kGroups = 26;
	constexpr std::size_t kGaps = 4;
	const std::size_t users = columns - std::min(columns, kDisks + kGroups + kGaps);
	const std::string_view heading = users >= kUsersWithPackages ?
						 "    UID   DATA IOWAIT  PACKAGE" :
						 "    UID   DATA IOWAIT";
	return ftxui::hbox({
		io_table("DEVICE    READ/s WRITE/s BUSY", disk_rows(view), kDisks, style),
		ftxui::text("  "),
		io_table(heading, user_rows(view, users), users, style),
		ftxui::text("  "),
		io_table("GROUP   WAIT   D IO  OTHER", group_rows(view), kGroups, style),
	});
}

} // namespace zemctl
