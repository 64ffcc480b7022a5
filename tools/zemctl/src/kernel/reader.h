/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What a reader knows of the shared buffer from one look to the next, without any input or
 * output of its own: which records are new, which are still in doubt, and what was lost.
 *
 * The kernel's consumer appends whole records to the buffer until somebody hands it back, which
 * empties it. While the consumer waits for the hand-back the buffer is stable, and all of it may
 * be taken. At any other time a record may be half copied: then only what two looks, some time
 * apart, agree on is taken. Records that were taken stay in the buffer until the hand-back.
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

/* A copy of the shared buffer; aligned so that it can be filled by words. */
struct alignas(8) Snapshot {
	std::array<std::byte, ZEM_SHARED_SIZE> bytes{};
};

struct Counters {
	struct PerChannel {
		std::uint64_t records = 0;
		std::uint64_t bytes = 0;
	};

	std::uint64_t records = 0;
	std::uint64_t bytes = 0; /* headers included, as in the buffer */
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
	 * Makes room for a new look and returns it, to be filled by the caller. The records of
	 * the look before last become invalid: they have to be collected before.
	 */
	Snapshot &next_look();
	/* Do the last two looks show the same bytes? */
	bool looks_agree() const;

	/* Takes the new records that the last two looks agree on. */
	void take_agreed();
	/* Takes all new records: the caller knows that the last look is not half of anything. */
	void take_all();

	/*
	 * The buffer was handed back and the kernel says that it held @bytes. Whatever that is
	 * more than was taken is lost.
	 */
	void handed_back(std::uint32_t bytes);
	void count_notification() { counters_.notifications++; }

	/* Bytes of the buffer, from its start, that were taken since the last hand-back. */
	std::size_t taken() const { return taken_; }
	const Counters &counters() const { return counters_; }

	/* Records taken and things to tell the user since the last clear(). */
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
	/* Only looks at the same filling of the buffer can agree. */
	std::uint64_t looks_since_hand_back_ = 0;
	Snapshot known_; /* the bytes that were taken, to notice when they change under us */
	std::size_t taken_ = 0;
	std::string complaint_; /* why the last walk over a stable buffer stopped early */
	Counters counters_;
	std::vector<Record> records_;
	std::vector<std::string> notes_;
};

} // namespace zemctl
