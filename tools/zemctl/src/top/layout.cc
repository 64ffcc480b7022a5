// SPDX-License-Identifier: GPL-2.0
/*
 * Draws the screen of zemctl top.
 */
#include "top/layout.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <ftxui/screen/screen.hpp>

#include "text/bars.h"
#include "text/text.h"
#include "text/words.h"
#include "top/cells.h"

namespace zemctl {

namespace {

/* From this size on the histograms have a row for every bucket. */
constexpr TopSize kSizeForBuckets = {100, 36};

struct Form {
	bool has_buckets;
	bool has_keys;
};

constexpr std::array<std::string_view, 17> kHelp = {
	"q            quit",
	"h ?          this help",
	"p space      pause, continue",
	"s S          sort by the next, by the previous column",
	"r            reverse the order",
	"/            filter by a part of a name, of a package or of a pid;",
	"             Enter keeps the filter, Esc restores the one before",
	"Esc          show all processes again",
	"up down      scroll the processes; also page up, page down, home, end",
	"+ -          double, halve the speed of a replay",
	"",
	"CPU %        of the full capacity of the largest CPU, RAN the time on a CPU",
	"WAIT         for a CPU, DSTATE in uninterruptible sleep, IOWAIT for IO: SVP tasks",
	"run delay    SVP tasks waiting for a CPU, from short to long; hard irqs likewise",
	"DATA         that a user read from and wrote to devices",
	"GROUP        tasks waiting for a CPU, in D state for IO, in other D state",
	"All times and amounts are since the record before.",
};

std::string rendered(const ftxui::Element &element, const TopSize &size)
{
	auto screen = ftxui::Screen(static_cast<int>(size.columns), static_cast<int>(size.rows));
	ftxui::Render(screen, element);
	return screen.ToString();
}

ftxui::Element head_line(const TopView &view, const TopHead &head, const TopControls &controls,
			 const TopStyle &style)
{
	Calendar calendar(style.zone);
	const TopOrder &order = controls.order();
	const std::string left = fmt::format(" zemctl top  {}  {}", calendar.format(view.time),
					     escaped(head.source));
	const std::string right = fmt::format("  {}{}sort {}{} ",
					      head.note.empty() ? "" : head.note + "  ",
					      controls.is_paused() ? "PAUSED  " : "",
					      kTopSorts[static_cast<std::size_t>(order.by)].name,
					      order.reverse ? " reversed" : "");
	return title_bar(ftxui::hbox({ftxui::text(left) | ftxui::flex_shrink, ftxui::filler(),
				      ftxui::text(right)}),
			 style);
}

struct Shown {
	std::size_t first;
	std::size_t end;
	std::size_t count;
};

ftxui::Element key_line(const TopControls &controls, const TopHead &head, const Shown &shown,
			const TopStyle &style)
{
	const std::string &filter = controls.order().filter;
	std::string left = "q quit  h help  p pause  s sort  r reverse  / filter";
	if (controls.edits_filter())
		left = "filter: " + escaped(filter) + "_";
	else if (!filter.empty())
		left = "filter: " + escaped(filter) + "  (Esc shows all)";
	else if (head.is_replay)
		left += "  + - speed";
	const std::string right = shown.count == 0 ? "no processes " :
						     fmt::format("{}-{} of {} ", shown.first + 1,
								 shown.end, shown.count);
	return title_bar(ftxui::hbox({ftxui::text(" " + left) | ftxui::flex_shrink, ftxui::filler(),
				      ftxui::text("  " + right)}),
			 style);
}

ftxui::Element help_screen(const TopStyle &style)
{
	ftxui::Elements lines = {
		title_bar(ftxui::hbox({ftxui::text(" zemctl top: keys"), ftxui::filler()}), style),
		ftxui::text("")};
	for (const std::string_view line : kHelp)
		lines.push_back(ftxui::text("  " + std::string(line)));
	lines.push_back(ftxui::text(""));
	lines.push_back(emphasised(ftxui::text("  Any key returns."), style));
	return ftxui::vbox(std::move(lines));
}

ftxui::Element too_small(const TopSize &size)
{
	return ftxui::vbox({
		ftxui::text("zemctl top needs"),
		ftxui::text(fmt::format("{}x{}, this is", kTopSizeMin.columns, kTopSizeMin.rows)),
		ftxui::text(fmt::format("{}x{}. q: quit", size.columns, size.rows)),
	});
}

/* The parts above the processes. */
ftxui::Elements upper_parts(const TopView &view, const TopHead &head, const TopControls &controls,
			    std::size_t columns, const TopStyle &style, const Form &form)
{
	ftxui::Elements parts = {head_line(view, head, controls, style)};
	std::ranges::move(record_lines(view, columns, style), std::back_inserter(parts));
	std::ranges::move(cluster_lines(view, columns, style), std::back_inserter(parts));
	if (form.has_buckets)
		parts.push_back(histogram_tables(view, columns, style));
	else
		std::ranges::move(histogram_lines(view, style), std::back_inserter(parts));
	parts.push_back(process_heading(controls.order().by, columns, style));
	return parts;
}

/* The rows of everything except the processes. */
std::size_t rows_of_others(const TopView &view, const Form &form)
{
	constexpr std::size_t kLines = 4; /* the head, two lines of records, a heading */
	const std::size_t clusters = std::clamp<std::size_t>(view.clusters.size(), 1, kClusterRows);
	return kLines + clusters + (form.has_buckets ? kHistogramRows : 2) + kTableRows +
	       (form.has_keys ? 1 : 0);
}

std::string draw(const TopView &view, const TopHead &head, TopControls &controls,
		 const TopSize &size, const TopStyle &style, const Form &form)
{
	std::vector<TopProcess> processes = view.processes;
	select_and_sort(processes, controls.order());
	const std::size_t room = size.rows - std::min(size.rows, rows_of_others(view, form));
	controls.fit_scroll(processes.size(), room);
	const Shown shown = {controls.scroll(),
			     std::min(processes.size(), controls.scroll() + room),
			     processes.size()};
	ftxui::Elements parts = upper_parts(view, head, controls, size.columns, style, form);
	for (std::size_t i = shown.first; i < shown.end; i++)
		parts.push_back(process_line(processes[i], size.columns));
	parts.push_back(ftxui::filler());
	parts.push_back(io_and_groups(view, size.columns, style));
	if (form.has_keys)
		parts.push_back(key_line(controls, head, shown, style));
	return rendered(ftxui::vbox(std::move(parts)), size);
}

} // namespace

std::string draw_top(const TopView &view, const TopHead &head, TopControls &controls,
		     const TopSize &size, const TopStyle &style)
{
	if (size.columns < kTopSizeMin.columns || size.rows < kTopSizeMin.rows)
		return rendered(too_small(size), size);
	if (controls.shows_help())
		return rendered(help_screen(style), size);
	const bool has_buckets = size.columns >= kSizeForBuckets.columns &&
				 size.rows >= kSizeForBuckets.rows;
	return draw(view, head, controls, size, style, {has_buckets, true});
}

std::string top_lines(const TopView &view, const TopHead &head, TopControls &controls,
		      std::size_t columns, std::size_t processes, const TopStyle &style)
{
	std::vector<TopProcess> selected = view.processes;
	select_and_sort(selected, controls.order());
	const std::size_t width = std::max(columns, kTopSizeMin.columns);
	const Form form = {width >= kSizeForBuckets.columns, false};
	const std::size_t rows = rows_of_others(view, form) + std::min(processes, selected.size());
	const std::string screen = draw(view, head, controls, {width, rows}, style, form);
	std::string lines;
	std::string_view rest = screen;
	while (!rest.empty()) {
		std::string_view line = take_line(rest);
		if (line.ends_with('\r'))
			line.remove_suffix(1);
		lines += line;
		end_line(lines);
	}
	return lines;
}

} // namespace zemctl
