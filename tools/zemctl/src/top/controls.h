/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the user has chosen with keys: the order and the filter of the processes, the part of them
 * that is shown, pause, help, and the speed of a replay.
 */
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "top/keys.h"
#include "top/processes.h"

namespace zemctl {

class TopControls {
public:
	explicit TopControls(TopOrder order, double speed = 1)
		: order_(std::move(order)), speed_(speed)
	{
	}

	void on_key(const Key &key);

	bool wants_quit() const { return quit_; }
	bool is_paused() const { return paused_; }
	bool shows_help() const { return help_; }
	bool edits_filter() const { return editing_; }
	const TopOrder &order() const { return order_; }
	double speed() const { return speed_; }
	/* The number of processes above the first one that is shown. */
	std::size_t scroll() const { return scroll_; }
	/* Called by the layout: @rows processes of @count fit. Keeps the list filled. */
	void fit_scroll(std::size_t count, std::size_t rows);

private:
	static constexpr double kSpeedMin = 1.0 / 64;
	static constexpr double kSpeedMax = 4096;
	static constexpr std::size_t kFilterMax = 64; /* bytes */

	void on_edit_key(const Key &key);
	void on_command(char command);
	void on_scroll_key(KeyKind kind);
	void sort_by_next(std::size_t step);

	TopOrder order_;
	double speed_;
	std::string filter_before_;
	std::size_t scroll_ = 0;
	std::size_t page_ = 1;
	bool quit_ = false;
	bool paused_ = false;
	bool help_ = false;
	bool editing_ = false;
};

} // namespace zemctl
