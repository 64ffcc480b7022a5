/* SPDX-License-Identifier: GPL-2.0 */
/* An event with a record's payload. */
#undef TRACE_SYSTEM
#define TRACE_SYSTEM zem_flood

#if !defined(_ZEM_BENCH_FLOOD_EVENT_H) || defined(TRACE_HEADER_MULTI_READ)
#define _ZEM_BENCH_FLOOD_EVENT_H

#include <linux/tracepoint.h>

/* clang-format off */
TRACE_EVENT(zem_flood_record,
	TP_PROTO(const void *payload, u32 len),
	TP_ARGS(payload, len),
	TP_STRUCT__entry(
		__dynamic_array(u8, payload, len)
	),
	TP_fast_assign(
		memcpy(__get_dynamic_array(payload), payload, len);
	),
	TP_printk("%u bytes", __get_dynamic_array_len(payload))
);
/* clang-format on */

#endif /* _ZEM_BENCH_FLOOD_EVENT_H */

#undef TRACE_INCLUDE_PATH
#define TRACE_INCLUDE_PATH .
#undef TRACE_INCLUDE_FILE
#define TRACE_INCLUDE_FILE flood_event
#include <trace/define_trace.h>
