// SPDX-License-Identifier: GPL-2.0
/*
 * The producers' path: a reservation, a copy, a commit and a signal. Called by the setters in the
 * context of their callers, and by the collector.
 */
#include "core/records.h"

#include "core/common/counters.h"
#include "core/settings.h"
#include "kernel/api/printk.h"
#include "kernel/api/time.h"
#include "kernel/ring_buffer.h"

namespace zem {

constinit Relaxed<trace_buffer *> buffer{nullptr};
constinit Relaxed<u32> train_number{0};
constinit Doorbell data_ready;

namespace {

constexpr u64 kNanosecondsPerSecond = 1'000'000'000;
constexpr int kMaxEventLength = ZEM_HEADER_SIZE + ZEM_PAYLOAD_MAX;

/* The fields of a header that the producer chooses. */
struct RecordKind {
	u8 channel;
	u8 sub_type;
};

/* The event is aligned only to 4 bytes, so the header is filled on the stack and copied. */
void write_header(u8 *event, RecordKind kind, u32 len)
{
	timespec64 now;
	helper_ktime_get_real_ts64(&now);

	const zem_record_header header{
		.timestamp = static_cast<u64>(now.tv_sec) * kNanosecondsPerSecond +
			     static_cast<u64>(now.tv_nsec),
		.train_number = train_number.load(),
		.channel = kind.channel,
		.sub_type = kind.sub_type,
		.reserved0 = {},
		.len = len,
		.reserved1 = {},
	};
	__builtin_memcpy(event, &header, sizeof(header));
}

void refuse(int event_length)
{
	count(Counter::kRecordsRefused);
	pr_err_deferred("get ringbuffer fail event_len:%d\n", event_length);
}

void refuse_too_large(int event_length)
{
	count(Counter::kRecordsTooLarge);
	pr_err_deferred("zem : too large data %d !\n", event_length);
}

/* The caller has checked the length. */
void write_record(RecordKind kind, const void *data, u32 len)
{
	const u32 event_length = len + ZEM_HEADER_SIZE;

	Reservation event(buffer.load(), event_length);
	if (!event) [[unlikely]] {
		refuse(static_cast<int>(event_length));
		return;
	}
	u8 *bytes = event.data();
	write_header(bytes, kind, len);
	__builtin_memcpy(bytes + ZEM_HEADER_SIZE, data, len);

	/* Switched off meanwhile: the reservation is discarded, without a signal. */
	if (!trace_on.load()) [[unlikely]]
		return;
	event.commit();
	data_ready.ring();
}

} /* namespace */

void push_record(zem_channel channel, const void *data, int len, u32 sub_type)
{
	if (!trace_on.load())
		return;

	/* Unsigned arithmetic: a length near INT_MAX wraps around to a negative sum, as in the
	 * kernel. */
	const int event_length = static_cast<int>(static_cast<u32>(len) + ZEM_HEADER_SIZE);
	if (event_length > kMaxEventLength) [[unlikely]] {
		refuse_too_large(event_length);
		return;
	}
	/* The ring buffer would accept an event that is shorter than the header. */
	if (event_length < ZEM_HEADER_SIZE) [[unlikely]] {
		refuse(event_length);
		return;
	}
	write_record({static_cast<u8>(channel), static_cast<u8>(sub_type)}, data,
		     static_cast<u32>(len));
}

void push_block(zem_channel channel, const void *block, u32 size)
{
	push_record(channel, block, static_cast<int>(size), 0);
}

} /* namespace zem */
