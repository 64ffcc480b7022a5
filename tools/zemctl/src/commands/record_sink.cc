// SPDX-License-Identifier: GPL-2.0
/*
 * Passes the records of a session to a recording.
 */
#include "commands/record_sink.h"

#include <span>
#include <utility>

#include "commands/reading.h"

namespace zemctl {

namespace {

/* The bytes of the records of @channels. */
std::size_t size_of(std::span<const Record> records, ChannelSet channels)
{
	std::size_t bytes = 0;
	for (const Record &record : records)
		if (contains(channels, record.header.channel))
			bytes += record.whole.size();
	return bytes;
}

} // namespace

bool RecordSink::deliver(const Arrival &arrival)
{
	print_notes(arrival.notes);
	std::vector<std::byte> records;
	std::uint64_t count = 0;
	Bytes run; /* of records that follow each other in the look */
	/* The queue counts sizes: spare capacity would be beyond its limit. */
	records.reserve(size_of(arrival.records, options_.channels));
	const auto end_run = [&] {
		records.insert(records.end(), run.begin(), run.end());
	};
	for (const Record &record : arrival.records) {
		if (is_full() || !contains(options_.channels, record.header.channel)) {
			left_out_++;
			continue;
		}
		if (run.data() + run.size() == record.whole.data()) {
			run = Bytes(run.data(), run.size() + record.whole.size());
		} else {
			end_run();
			run = record.whole;
		}
		taken_++;
		count++;
	}
	end_run();
	reader_gaps_ = arrival.counters.gaps;
	losses_.lost_bytes = arrival.counters.lost_bytes;
	push(std::move(records), count);
	return !is_full();
}

void RecordSink::note_kernel_loss(std::uint64_t records)
{
	losses_.gaps++;
	losses_.kernel_lost += records;
	push({}, 0);
}

void RecordSink::note_dropped(std::uint64_t records)
{
	losses_.gaps++;
	losses_.dropped_records += records;
	push({}, 0);
}

Losses RecordSink::losses() const
{
	Losses all = losses_;
	all.gaps += reader_gaps_;
	return all;
}

/*
 * Drops the records for which the queue has no room. Then the queue has no marks either until it
 * has room again: the gap mark is where the missing records would be, with their number.
 */
void RecordSink::push(std::vector<std::byte> &&records, std::uint64_t count)
{
	if (!recording_.has_room(records.size())) {
		if (records.empty())
			return;
		losses_.dropped_records += count;
		losses_.dropped_bytes += records.size();
		losses_.gaps += dropping_ ? 0 : 1;
		dropping_ = true;
		return;
	}
	if (dropping_)
		push_marks();
	dropping_ = false;
	if (!records.empty())
		recording_.push({std::move(records), count, marked_losses_, std::nullopt});
	if (losses().gaps != marked_losses_.gaps || Clock::now() - last_moment_ >= kMomentInterval)
		push_marks();
}

void RecordSink::push_marks()
{
	last_moment_ = Clock::now();
	marked_losses_ = losses();
	recording_.push({{}, 0, marked_losses_, moment_()});
}

void RecordSink::finish()
{
	recording_.finish({{}, 0, losses(), moment_()});
}

Kept RecordSink::kept() const
{
	return {recording_.written(), left_out_, losses_.dropped_records};
}

} // namespace zemctl
