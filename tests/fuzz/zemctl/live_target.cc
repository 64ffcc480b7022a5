// SPDX-License-Identifier: GPL-2.0
/*
 * A reading session with a simulated kernel that the input controls. In half of the inputs the
 * kernel keeps the protocol: every byte must be delivered once or be reported as lost. In the other
 * half the buffer and the answers are arbitrary.
 */
#include <algorithm>
#include <cstring>

#include "forms.h"
#include "kernel/session.h"
#include "script.h"
#include "targets.h"

namespace zemctl::fuzz {

namespace {

/* Receives all records. Records of a correct kernel have consecutive numbers. */
class CheckingSink {
public:
	explicit CheckingSink(bool is_honest) : is_honest_(is_honest) {}

	bool deliver(const Reader &reader)
	{
		for (const Record &record : reader.records()) {
			require(record.whole.size() == ZEM_HEADER_SIZE + record.header.len,
				"a record is as long as it says");
			require(record.header.channel < ZEM_CHANNEL_COUNT,
				"a record has a channel");
			bytes_ += record.whole.size();
			records_++;
			if (is_honest_)
				check_sequence(record);
			else if (records_ % 16 == 0)
				show_in_every_form(record);
		}
		return true;
	}

	std::uint64_t bytes() const { return bytes_; }
	std::uint64_t records() const { return records_; }

private:
	void check_sequence(const Record &record)
	{
		require(is_intact(record), "a record is delivered whole");
		require(record.header.timestamp > last_, "each record is delivered once, in order");
		last_ = record.header.timestamp;
	}

	bool is_honest_;
	std::uint64_t bytes_ = 0;
	std::uint64_t records_ = 0;
	std::uint64_t last_ = 0;
};

template <typename Kernel>
void run_session(Script script, bool is_honest)
{
	Kernel kernel(script);
	Reader reader;
	CheckingSink sink(is_honest);
	Session session(kernel, reader, sink, {});
	session.run();

	const Counters &counters = reader.counters();
	require(counters.bytes == sink.bytes() && counters.records == sink.records(),
		"what is counted was delivered");
	require(reader.taken() <= ZEM_SHARED_SIZE, "no more than the buffer is taken");
	std::uint64_t records = 0, bytes = 0;
	for (const auto &channel : counters.channels) {
		records += channel.records;
		bytes += channel.bytes;
	}
	require(records == counters.records && bytes == counters.bytes, "channels add up to all");
	if (!is_honest)
		return;
	require(counters.bytes + counters.lost_bytes == kernel.handed_back() + reader.taken(),
		"each byte was delivered or was reported as lost");
	require(counters.gaps > 0 || counters.lost_bytes == 0, "a loss is a gap");
	require(reader.taken() <= kernel.used(), "what was taken is there");
}

} // namespace

void run_live(Input input)
{
	if (input.empty())
		return;
	const Script script(input.subspan(1));
	if (input[0] % 2 == 0)
		run_session<HonestKernel>(script, true);
	else
		run_session<HostileKernel>(script, false);
}

} // namespace zemctl::fuzz
