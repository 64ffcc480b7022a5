/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Finds the new and the lost records in successive copies of the shared buffer, called looks. It
 * does no input or output.
 *
 * The kernel's consumer appends whole records to the buffer until a reader hands it back, which
 * empties it. While the consumer waits for the hand-back the buffer is stable, and all its records
 * may be taken. At any other time a record may be half copied: then only the bytes on which two
 * looks, some time apart, agree are taken. Records that were taken stay in the buffer until the
 * hand-back.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "records/record.h"
#include "records/walk.h"

namespace zemctl {

/* A copy of the shared buffer, aligned so that it can be written word by word. */
struct alignas(8) Snapshot {
	std::array<std::byte, ZEM_SHARED_SIZE> bytes{};
};

struct Counters {
	struct PerChannel {
		std::uint64_t records = 0;
		std::uint64_t bytes = 0;
	};

	std::uint64_t records = 0;
	std::uint64_t bytes = 0; /* including headers, as in the buffer */
	std::uint64_t gaps = 0;
	std::uint64_t lost_bytes = 0;
	std::uint64_t hand_backs = 0;
	std::uint64_t notifications = 0;
	std::array<PerChannel, ZEM_CHANNEL_COUNT> channels{};

	void count(const Record &record);
};

class Reader {
public:
	/*
	 * Returns the room for a new look, which the caller fills. The records of the look before
	 * the previous one become invalid: the caller must use records() before.
	 */
	Snapshot &next_look();
	/* Returns whether the last two looks have the same bytes. */
	bool looks_agree() const;

	/* Takes the new records on which the last two looks agree. */
	void take_agreed();
	/* Takes all new records. The caller knows that the last look has no half copied record. */
	void take_all();

	/*
	 * Called after a hand-back, for which the kernel reported that the buffer held @bytes.
	 * Bytes that were not taken are lost.
	 */
	void handed_back(std::uint32_t bytes);
	void count_notification() { counters_.notifications++; }

	/* The number of bytes taken since the last hand-back. They are the start of the buffer. */
	std::size_t taken() const { return taken_; }
	const Counters &counters() const { return counters_; }

	/* The records taken, and the notes for the user, since the last clear(). */
	const std::vector<Record> &records() const { return records_; }
	const std::vector<std::string> &notes() const { return notes_; }
	void clear();

private:
	const Snapshot &latest() const { return looks_[latest_]; }
	const Snapshot &previous() const { return looks_[1 - latest_]; }
	void take_up_to(std::size_t limit);
	void check_what_was_taken();
	void gap(std::string note);

	std::array<Snapshot, 2> looks_;
	std::size_t latest_ = 0;
	/* Only looks between the same two hand-backs can agree. */
	std::uint64_t looks_since_hand_back_ = 0;
	Snapshot known_; /* the bytes that were taken, to detect a change of them */
	std::size_t taken_ = 0;
	std::string
		complaint_; /* the reason why the last walk over a stable buffer stopped early */
	Counters counters_;
	std::vector<Record> records_;
	std::vector<std::string> notes_;
};

/* What a receiver of records gets: the records, and the notes for the user. */
struct Arrival {
	Arrival(const std::vector<Record> &new_records, const std::vector<std::string> &new_notes,
		const Counters &all)
		: records(new_records), notes(new_notes), counters(all)
	{
	}
	/* NOLINTNEXTLINE(google-explicit-constructor): a reader is a source of records. */
	Arrival(const Reader &reader) : Arrival(reader.records(), reader.notes(), reader.counters())
	{
	}

	const std::vector<Record> &records;
	const std::vector<std::string> &notes;
	const Counters &counters; /* of all records so far */
};

} // namespace zemctl
