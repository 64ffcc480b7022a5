/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Shows a model on the full screen: handles the keys, and draws after a key, a change of the
 * terminal's size, and an interval.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "top/controls.h"
#include "top/full_screen.h"
#include "top/keys.h"
#include "top/layout.h"
#include "top/model.h"

namespace zemctl {

struct DisplayOptions {
	TopOrder order;
	double speed = 1;
	std::chrono::nanoseconds interval = std::chrono::seconds(1);
	TopStyle style;
};

class TopDisplay {
public:
	explicit TopDisplay(const DisplayOptions &options);

	/* The time after which update() is called again at the latest. */
	static constexpr auto kUpdateInterval = std::chrono::milliseconds(50);

	/*
	 * Shows @model at @now, in ns since the epoch. While the user has paused, the screen keeps
	 * its values. Return: false if the user wants to quit.
	 */
	bool update(const TopModel &model, const TopHead &head, std::uint64_t now,
		    StreamState state = StreamState::kContinues);

	const TopControls &controls() const { return controls_; }
	int key_fd() const { return screen_.key_fd(); }
	void close() noexcept { screen_.close(); }

private:
	using Clock = std::chrono::steady_clock;

	/* An escape that nothing follows for this long is a key. */
	static constexpr auto kEscapeTime = std::chrono::milliseconds(25);

	bool handle_keys();

	TopControls controls_;
	KeyDecoder decoder_;
	std::chrono::nanoseconds interval_;
	TopStyle style_;
	TopView view_;
	TopSize size_ = {0, 0};
	Clock::time_point last_bytes_ = Clock::now();
	std::optional<Clock::time_point> drawn_;
	FullScreen screen_;
};

} // namespace zemctl
