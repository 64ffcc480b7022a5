// SPDX-License-Identifier: GPL-2.0
/* Commands that read records like a reader: copy them from the mapping, then hand back. */
#include "commands.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "records.h"
#include "system.h"

namespace {

constexpr int kLookGap = 3; /* ms */
constexpr int kDefaultPatience = 10'000; /* ms */

using Look = std::array<unsigned char, ZEM_SHARED_SIZE>;

Look copy_of(const unsigned char *mapping)
{
	Look look;
	std::memcpy(look.data(), mapping, look.size());
	return look;
}

/* Looks until two looks are equal: then no record is half copied. */
Look settled(const unsigned char *mapping)
{
	Look before = copy_of(mapping);
	for (;;) {
		sleep_ms(kLookGap);
		const Look now = copy_of(mapping);
		if (now == before)
			return now;
		before = now;
	}
}

void print_records(Bytes bytes)
{
	while (const auto record = first_record(bytes)) {
		print_record(*record);
		bytes = bytes.subspan(record->size());
	}
}

/* Return: whether a record of @look has the time stamp of @record. */
bool has(Bytes look, const Record &record)
{
	while (const auto other = first_record(look)) {
		if (!std::memcmp(&other->header, &record.header, sizeof(record.header)))
			return true;
		look = look.subspan(other->size());
	}
	return false;
}

bool have_a_record_in_common(Bytes before, Bytes after)
{
	while (const auto record = first_record(before)) {
		if (has(after, *record))
			return true;
		before = before.subspan(record->size());
	}
	return false;
}

/*
 * Checks whether the hand-back emptied exactly the bytes that were walked. Nothing of @before may
 * be left, although waiting records may have been appended since.
 */
int judge(const Look &before, std::size_t walked, std::uint32_t handed_back,
	  const unsigned char *mapping)
{
	if (walked != handed_back) {
		std::printf("walked %zu bytes, handed back %u\n", walked, handed_back);
		return 1;
	}
	const Look after = settled(mapping);
	const bool is_zero_behind = is_zero(Bytes(after).subspan(extent_of(after).bytes));
	if (!is_zero_behind || have_a_record_in_common(before, after)) {
		std::printf("not all 0 after the hand-back\n");
		return 1;
	}
	return 0;
}

int open_trace()
{
	const int trace = ::open(kTraceFile, O_RDONLY | O_CLOEXEC);
	if (trace < 0)
		give_up(kTraceFile);
	return trace;
}

} // namespace

int run_peek(Arguments)
{
	print_records(settled(map_shared_buffer()));
	return 0;
}

/* Takes one filling of the buffer, so COUNT records must fit. */
int run_take(Arguments arguments)
{
	const auto count = static_cast<std::size_t>(number(arguments[0]));
	const std::int64_t patience = arguments.size() > 1 ? number(arguments[1]) :
							     kDefaultPatience;
	const std::int64_t deadline = monotonic_ms() + patience;
	const unsigned char *mapping = map_shared_buffer();

	Look look = settled(mapping);
	while (extent_of(look).records < count && monotonic_ms() < deadline) {
		sleep_ms(20);
		look = settled(mapping);
	}
	const Extent extent = extent_of(look);
	print_records(look);
	if (extent.records != count)
		std::printf("%zu records, not %zu\n", extent.records, count);
	const int trace = open_trace();
	const std::uint32_t handed_back = hand_back(trace);
	::close(trace);
	return judge(look, extent.bytes, handed_back, mapping) || extent.records != count;
}

/* Removes the records of earlier tests, from the buffer and from the rings. */
int run_flush(Arguments)
{
	const int trace = open_trace();
	for (int quiet = 0; quiet < 3; quiet++) {
		if (hand_back(trace))
			quiet = -1;
		sleep_ms(15);
	}
	return 0;
}

namespace {

volatile std::sig_atomic_t stopping = 0;

void stop(int)
{
	stopping = 1;
}

struct Drain {
	const unsigned char *mapping;
	int trace;
	std::FILE *file;
	unsigned long long lost = 0;

	void collect(const Look &look)
	{
		const Extent extent = extent_of(look);
		const std::uint32_t handed_back = hand_back(trace);
		std::fwrite(look.data(), 1, extent.bytes, file);
		if (handed_back != extent.bytes)
			lost += handed_back > extent.bytes ? handed_back - extent.bytes : 1;
	}

	bool is_notified(int timeout)
	{
		pollfd waiting = {trace, POLLPRI, 0};
		return ::poll(&waiting, 1, timeout) > 0;
	}
};

} // namespace

/* Leaves the buffer alone between notifications, so that a hand-back cannot lose records. */
int run_drain(Arguments arguments)
{
	Drain drain = {map_shared_buffer(), open_trace(), std::fopen(arguments[0], "a")};
	if (!drain.file)
		give_up(arguments[0]);
	struct sigaction action = {};
	action.sa_handler = stop;
	::sigaction(SIGTERM, &action, nullptr);

	drain.collect(settled(drain.mapping));
	std::printf("draining\n");
	while (!stopping)
		if (drain.is_notified(100))
			drain.collect(copy_of(drain.mapping));
	/* The producers have ended. Take the remaining records until no more arrive. */
	while (drain.is_notified(500))
		drain.collect(copy_of(drain.mapping));
	drain.collect(settled(drain.mapping));
	if (std::fclose(drain.file))
		give_up(arguments[0]);
	std::printf("lost %llu bytes\n", drain.lost);
	return drain.lost != 0;
}
