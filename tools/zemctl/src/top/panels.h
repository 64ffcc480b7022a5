/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The parts of the screen of zemctl top. Each fills a number of columns.
 */
#pragma once

#include <cstddef>
#include <span>

#include <ftxui/dom/elements.hpp>

#include "text/bars.h"
#include "text/timestamp.h"
#include "top/model.h"

namespace zemctl {

struct TopStyle {
	bool colour = false;
	bool attributes = false; /* bold and inverted characters */
	BarStyle bars = BarStyle::kBlocks;
	Calendar::Zone zone = Calendar::Zone::kLocal;
};

/* The columns and rows of a terminal. */
struct TopSize {
	std::size_t columns;
	std::size_t rows;
};

/* Changes an element, but only if the style allows it. */
ftxui::Element emphasised(ftxui::Element element, const TopStyle &style);
ftxui::Element title_bar(ftxui::Element element, const TopStyle &style);
ftxui::Element coloured(ftxui::Element element, ftxui::Color colour, const TopStyle &style);

/* Two lines: the rate of the records, the losses, and the age of the values. */
ftxui::Elements record_lines(const TopView &view, std::size_t columns, const TopStyle &style);

/* A line for each cluster; at most kClusterRows. */
inline constexpr std::size_t kClusterRows = 4;
ftxui::Elements cluster_lines(const TopView &view, std::size_t columns, const TopStyle &style);

/* The histograms of run delay and interrupts as two lines, or side by side with all buckets. */
ftxui::Elements histogram_lines(const TopView &view, const TopStyle &style);
inline constexpr std::size_t kHistogramRows = 1 + ZEM_SCHED_BUCKETS;
ftxui::Element histogram_tables(const TopView &view, std::size_t columns, const TopStyle &style);

ftxui::Element process_heading(TopSort sort, std::size_t columns, const TopStyle &style);
ftxui::Element process_line(const TopProcess &process, std::size_t columns);

/* Devices, users and groups side by side, with a heading. */
inline constexpr std::size_t kTableRows = 1 + ZEM_CGROUPS;
ftxui::Element io_and_groups(const TopView &view, std::size_t columns, const TopStyle &style);

} // namespace zemctl
