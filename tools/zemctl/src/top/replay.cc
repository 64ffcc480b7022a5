// SPDX-License-Identifier: GPL-2.0
/*
 * Passes the records of a capture to a model.
 */
#include "top/replay.h"

#include <algorithm>

namespace zemctl {

Replay::Replay(CaptureReader &reader, TopModel &model)
	: reader_(reader), model_(model), item_(reader.next())
{
	while (item_ && !std::holds_alternative<Record>(*item_))
		pass_item();
	begin_ = time_of_item().value_or(0);
	latest_ = begin_;
}

/* Marks and damage have no time of their own here: they follow the record before them. */
std::optional<std::uint64_t> Replay::time_of_item() const
{
	const Record *record = item_ ? std::get_if<Record>(&*item_) : nullptr;
	return record == nullptr ? std::nullopt : std::optional(record->header.timestamp);
}

void Replay::advance(std::uint64_t time)
{
	while (item_ && time_of_item().value_or(0) <= time)
		pass_item();
}

void Replay::pass_item()
{
	if (const Record *record = std::get_if<Record>(&*item_)) {
		latest_ = std::max<std::uint64_t>(latest_, record->header.timestamp);
		model_.add(*record);
	} else if (const Mark *mark = std::get_if<Mark>(&*item_)) {
		if (mark->kind == MarkKind::kGap || mark->kind == MarkKind::kEnd)
			add_losses(mark->totals());
		else
			model_.add(*mark);
	} else {
		model_.add_losses({.gaps = 1, .bytes = std::get<Skip>(*item_).bytes});
	}
	item_ = reader_.next();
}

/* A gap with a number of records is no gap of unknown size. */
void Replay::add_losses(const CaptureTotals &totals)
{
	const CaptureTotals growth = growth_of(totals, totals_);
	totals_ = totals;
	const bool is_counted = growth.kernel_lost > 0 || growth.dropped_records > 0;
	TopLosses losses = {.kernel = growth.kernel_lost, .dropped = growth.dropped_records};
	if (growth.lost_bytes > 0 || (growth.gaps > 0 && !is_counted)) {
		losses.gaps = std::max<std::uint64_t>(growth.gaps, 1);
		losses.bytes = growth.lost_bytes;
	}
	model_.add_losses(losses);
}

} // namespace zemctl
