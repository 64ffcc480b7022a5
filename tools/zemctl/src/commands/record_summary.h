/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Sums up a stream of records: the records and bytes of each channel, their rates, what is missing,
 * and the span of time.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include <linux/zem.h>

#include "decode/json_stream.h"
#include "records/record.h"

namespace zemctl {

class RecordSummary {
public:
	void count(const Record &record);
	void count(const Gap &gap);

	/* Return the summary as a table, and as one line with a JSON object. */
	std::string text(StreamEnd end, Calendar::Zone zone) const;
	std::string json(StreamEnd end) const;

private:
	struct Sum {
		std::uint64_t records = 0;
		std::uint64_t bytes = 0; /* including headers */
	};

	std::string rows() const;
	std::string losses() const;
	double seconds() const;
	void rates_json(const Sum &sum, JsonWriter &json) const;

	Sum all_;
	std::array<Sum, ZEM_CHANNEL_COUNT> channels_;
	std::uint64_t first_time_ = UINT64_MAX;
	std::uint64_t last_time_ = 0;
	std::uint64_t gaps_ = 0;
	std::uint64_t lost_bytes_ = 0;
	std::uint64_t lost_records_ = 0;
	std::uint64_t unknown_gaps_ = 0;
};

} // namespace zemctl
