// SPDX-License-Identifier: GPL-2.0
/*
 * What the user has chosen with keys.
 */
#include "top/controls.h"

#include <algorithm>
#include <cstdint>

namespace zemctl {

namespace {

/* A character of UTF-8 has one byte that does not continue another. */
bool continues_character(char byte)
{
	return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

} // namespace

void TopControls::on_key(const Key &key)
{
	if (key.kind == KeyKind::kHangup)
		quit_ = true;
	if (editing_)
		return on_edit_key(key);
	if (help_) {
		help_ = false;
		return;
	}
	if (key.kind == KeyKind::kCharacter)
		return on_command(key.character);
	if (key.kind == KeyKind::kEscape)
		order_.filter.clear();
	on_scroll_key(key.kind);
}

void TopControls::on_edit_key(const Key &key)
{
	scroll_ = 0;
	switch (key.kind) {
	case KeyKind::kCharacter:
		if (order_.filter.size() < kFilterMax)
			order_.filter += key.character;
		return;
	case KeyKind::kBackspace:
		while (!order_.filter.empty() && continues_character(order_.filter.back()))
			order_.filter.pop_back();
		if (!order_.filter.empty())
			order_.filter.pop_back();
		return;
	case KeyKind::kEscape:
		order_.filter = filter_before_;
		editing_ = false;
		return;
	case KeyKind::kEnter:
		editing_ = false;
		return;
	default:
		return;
	}
}

void TopControls::on_command(char command)
{
	switch (command) {
	case 'q':
		quit_ = true;
		return;
	case 'h':
	case '?':
		help_ = true;
		return;
	case 'p':
	case ' ':
		paused_ = !paused_;
		return;
	case 's':
		return sort_by_next(1);
	case 'S':
		return sort_by_next(kTopSorts.size() - 1);
	case 'r':
		order_.reverse = !order_.reverse;
		return;
	case '/':
		filter_before_ = order_.filter;
		editing_ = true;
		return;
	case '+':
		speed_ = std::min(2 * speed_, std::max(speed_, kSpeedMax));
		return;
	case '-':
		speed_ = std::max(speed_ / 2, std::min(speed_, kSpeedMin));
		return;
	default:
		return;
	}
}

void TopControls::on_scroll_key(KeyKind kind)
{
	switch (kind) {
	case KeyKind::kUp:
		scroll_ -= std::min<std::size_t>(scroll_, 1);
		return;
	case KeyKind::kDown:
		scroll_++;
		return;
	case KeyKind::kPageUp:
		scroll_ -= std::min(scroll_, page_);
		return;
	case KeyKind::kPageDown:
		scroll_ += page_;
		return;
	case KeyKind::kHome:
		scroll_ = 0;
		return;
	case KeyKind::kEnd:
		scroll_ = SIZE_MAX / 2; /* fit_scroll() finds the end */
		return;
	default:
		return;
	}
}

void TopControls::sort_by_next(std::size_t step)
{
	order_.by = static_cast<TopSort>((static_cast<std::size_t>(order_.by) + step) %
					 kTopSorts.size());
}

void TopControls::fit_scroll(std::size_t count, std::size_t rows)
{
	page_ = std::max<std::size_t>(rows, 1);
	scroll_ = std::min(scroll_, count - std::min(count, rows));
}

} // namespace zemctl
