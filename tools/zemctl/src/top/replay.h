/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Passes the records of a capture to a model in the order of the file, up to a time. The caller
 * decides how fast that time passes.
 */
#pragma once

#include <cstdint>
#include <optional>

#include "records/capture_reader.h"
#include "top/model.h"

namespace zemctl {

class Replay {
public:
	/* Reads up to the first record. */
	Replay(CaptureReader &reader, TopModel &model);

	/* Passes everything up to @time, in ns since the epoch. */
	void advance(std::uint64_t time);
	void advance_to_end() { advance(UINT64_MAX); }

	bool has_ended() const { return !item_; }
	/* The time of the first record; 0 without records. */
	std::uint64_t begin() const { return begin_; }
	/* The highest time of the records passed; begin() before that. */
	std::uint64_t latest() const { return latest_; }

private:
	std::optional<std::uint64_t> time_of_item() const;
	void pass_item();
	void add_losses(const CaptureTotals &totals);

	CaptureReader &reader_;
	TopModel &model_;
	std::optional<CaptureItem> item_; /* the next one */
	CaptureTotals totals_ = {};
	std::uint64_t begin_ = 0;
	std::uint64_t latest_ = 0;
};

} // namespace zemctl
