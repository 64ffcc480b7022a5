/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Draws the screen of zemctl top.
 */
#pragma once

#include <cstddef>
#include <string>

#include "top/controls.h"
#include "top/model.h"
#include "top/panels.h"

namespace zemctl {

/* The smallest terminal that has room for all parts. */
inline constexpr TopSize kTopSizeMin = {80, 24};

/* What the screen shows beside the records. */
struct TopHead {
	std::string source = {}; /* of the records */
	std::string note = {}; /* for example the end of a replay; "" usually */
	bool is_replay = false;
};

/*
 * Returns the rows of a terminal with @size, separated by "\r\n". Each row fills all columns. A
 * terminal that is too small gets a message. The controls learn how many processes fit.
 */
std::string draw_top(const TopView &view, const TopHead &head, TopControls &controls,
		     const TopSize &size, const TopStyle &style);

/* Returns all parts as lines, with at most @processes processes and without the keys. */
std::string top_lines(const TopView &view, const TopHead &head, TopControls &controls,
		      std::size_t columns, std::size_t processes, const TopStyle &style);

} // namespace zemctl
