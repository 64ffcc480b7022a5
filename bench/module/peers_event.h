/* SPDX-License-Identifier: GPL-2.0 */
/* An event with the fields of a record. */
#undef TRACE_SYSTEM
#define TRACE_SYSTEM zem_bench

#if !defined(_ZEM_BENCH_PEERS_EVENT_H) || defined(TRACE_HEADER_MULTI_READ)
#define _ZEM_BENCH_PEERS_EVENT_H

#include <linux/tracepoint.h>

/* clang-format off */
TRACE_EVENT(zem_bench_record,
	TP_PROTO(u32 channel, u32 sub_type, u32 train_number, const void *payload, u32 len),
	TP_ARGS(channel, sub_type, train_number, payload, len),
	TP_STRUCT__entry(
		__field(u32, channel)
		__field(u32, sub_type)
		__field(u32, train_number)
		__dynamic_array(u8, payload, len)
	),
	TP_fast_assign(
		__entry->channel = channel;
		__entry->sub_type = sub_type;
		__entry->train_number = train_number;
		memcpy(__get_dynamic_array(payload), payload, len);
	),
	TP_printk("channel=%u sub_type=%u train_number=%u", __entry->channel, __entry->sub_type,
		  __entry->train_number)
);
/* clang-format on */

#endif /* _ZEM_BENCH_PEERS_EVENT_H */

#undef TRACE_INCLUDE_PATH
#define TRACE_INCLUDE_PATH .
#undef TRACE_INCLUDE_FILE
#define TRACE_INCLUDE_FILE peers_event
#include <trace/define_trace.h>
