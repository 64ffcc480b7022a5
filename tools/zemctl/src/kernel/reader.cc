// SPDX-License-Identifier: GPL-2.0
/*
 * Finds the new and the lost records in successive copies of the shared buffer.
 */
#include "kernel/reader.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

namespace zemctl {

void Counters::count(const Record &record)
{
	PerChannel &channel = channels[record.header.channel];
	channel.records++;
	channel.bytes += record.whole.size();
	records++;
	bytes += record.whole.size();
}

Snapshot &Reader::next_look()
{
	latest_ = 1 - latest_;
	looks_since_hand_back_++;
	return looks_[latest_];
}

bool Reader::looks_agree() const
{
	return looks_since_hand_back_ >= 2 && latest().bytes == previous().bytes;
}

void Reader::take_agreed()
{
	if (looks_since_hand_back_ < 2)
		return;
	check_what_was_taken();
	const auto difference = std::ranges::mismatch(latest().bytes, previous().bytes);
	take_up_to(static_cast<std::size_t>(difference.in1 - latest().bytes.begin()));
	/* The walk may have stopped at a header that the kernel is writing. */
	complaint_.clear();
}

void Reader::take_all()
{
	check_what_was_taken();
	take_up_to(ZEM_SHARED_SIZE);
}

/* Takes the records that end at or before @limit. */
void Reader::take_up_to(std::size_t limit)
{
	Walk walk(latest().bytes, taken_);
	std::size_t end = taken_;
	while (const auto record = walk.next()) {
		if (walk.position() > limit)
			break;
		end = walk.position();
		records_.push_back(*record);
		counters_.count(*record);
	}
	complaint_ = walk.ended_well() ? std::string() : walk.complaint();
	std::memcpy(known_.bytes.data() + taken_, latest().bytes.data() + taken_, end - taken_);
	taken_ = end;
}

/* Only a hand-back changes the bytes of a record: another reader made it. */
void Reader::check_what_was_taken()
{
	if (std::memcmp(known_.bytes.data(), latest().bytes.data(), taken_) == 0)
		return;
	gap("gap: another reader handed the buffer back, records may be missing");
	taken_ = 0;
}

void Reader::handed_back(std::uint32_t bytes)
{
	counters_.hand_backs++;
	if (bytes > taken_) {
		const std::size_t lost = bytes - taken_;
		counters_.lost_bytes += lost;
		gap(complaint_.empty() ?
			    fmt::format("gap: {} bytes arrived between the last look and the "
					"hand-back and are lost",
					lost) :
			    fmt::format("gap: {} bytes skipped: {}", lost, complaint_));
	} else if (bytes < taken_) {
		gap(bytes == 0 ? "gap: another reader handed the buffer back before us, records "
				 "may be missing" :
				 "gap: the buffer held less than was seen in it, another reader "
				 "handed it back, records may be missing");
	} else if (!complaint_.empty()) {
		gap(fmt::format("gap: the buffer holds bytes that are no record: {}", complaint_));
	}

	taken_ = 0;
	complaint_.clear();
	looks_since_hand_back_ = 0;
}

void Reader::gap(std::string note)
{
	counters_.gaps++;
	notes_.push_back(std::move(note));
}

void Reader::clear()
{
	records_.clear();
	notes_.clear();
}

} // namespace zemctl
