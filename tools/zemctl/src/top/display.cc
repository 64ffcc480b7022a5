// SPDX-License-Identifier: GPL-2.0
/*
 * Shows a model on the full screen.
 */
#include "top/display.h"

namespace zemctl {

TopDisplay::TopDisplay(const DisplayOptions &options)
	: controls_(options.order, options.speed), interval_(options.interval),
	  style_(options.style)
{
}

/* Return: whether there were keys. */
bool TopDisplay::handle_keys()
{
	const auto bytes = screen_.read_keys();
	if (!bytes) {
		controls_.on_key({KeyKind::kHangup});
		return true;
	}
	std::vector<Key> keys = decoder_.decode(*bytes);
	if (!bytes->empty())
		last_bytes_ = Clock::now();
	else if (Clock::now() - last_bytes_ >= kEscapeTime)
		keys = decoder_.timeout();
	for (const Key &key : keys)
		controls_.on_key(key);
	return !keys.empty();
}

bool TopDisplay::update(const TopModel &model, const TopHead &head, std::uint64_t now,
			StreamState state)
{
	const bool had_keys = handle_keys();
	if (controls_.wants_quit())
		return false;
	const TopSize size = screen_.size();
	const bool is_new_size = size.columns != size_.columns || size.rows != size_.rows;
	const auto time = Clock::now();
	const bool is_time = !drawn_ || time - *drawn_ >= interval_;
	if (!had_keys && !is_new_size && !is_time)
		return true;
	if (!drawn_ || (is_time && !controls_.is_paused()))
		view_ = model.view(now, state);
	if (is_time)
		drawn_ = time;
	size_ = size;
	screen_.show(draw_top(view_, head, controls_, size, style_), size);
	return true;
}

} // namespace zemctl
