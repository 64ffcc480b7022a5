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

constexpr int kMaxEventLength = ZEM_HEADER_SIZE + ZEM_PAYLOAD_MAX;

/* The fields of a header that the producer chooses. */
struct RecordKind {
	u8 channel;
	u8 sub_type;
};

/* A header in the ring buffer, which aligns events to 4 bytes. */
using EventHeader [[gnu::aligned(4)]] = zem_record_header;

/* Filled in place. The reserved bytes are cleared, because the buffer's pages hold old events. */
void write_header(EventHeader &header, RecordKind kind, u32 len)
{
	header.timestamp = helper_ktime_get_real_ns();
	header.train_number = train_number.load();
	header.channel = kind.channel;
	header.sub_type = kind.sub_type;
	__builtin_memset(header.reserved0, 0, sizeof(header.reserved0));
	header.len = len;
	__builtin_memset(header.reserved1, 0, sizeof(header.reserved1));
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
[[gnu::always_inline]] inline void write_record(RecordKind kind, const void *data, u32 len)
{
	const u32 event_length = len + ZEM_HEADER_SIZE;

	Reservation event(buffer.load(), event_length);
	if (!event) [[unlikely]] {
		refuse(static_cast<int>(event_length));
		return;
	}
	u8 *bytes = event.data();
	write_header(*reinterpret_cast<EventHeader *>(bytes), kind, len);
	__builtin_memcpy(bytes + ZEM_HEADER_SIZE, data, len);

	/* Switched off meanwhile: the reservation is discarded, without a signal. */
	if (!trace_on.load()) [[unlikely]]
		return;
	event.commit();
	data_ready.ring();
}

} /* namespace */

void push_traced_record(zem_channel channel, const void *data, int len, u32 sub_type)
{
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

} /* namespace zem */
