/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Counters of lost and refused requests since load. User space reads them in
 * /sys/module/zem/counters.
 */
#pragma once

#include "kernel/api/types.h"

namespace zem {

enum class Counter : u32 {
	kRecordsRefused, /* the ring buffer gave no reservation */
	kRecordsTooLarge, /* the payload exceeds ZEM_PAYLOAD_MAX */
	kRecordsDropped, /* no reader made room in the shared buffer in time */
	kNotifyTimeouts, /* notifications without a hand-back in time, drops included */
	kEmptyPasses, /* passes of the consumer that moved no record */
	kUidsRefused, /* requests for an entry in a full table of UIDs */
	kSvpTasksRefused, /* enrolments beyond the bound on SVP tasks */
	kCount,
};

/* Adds one without a lock. Context: any, including NMI and under a run-queue lock. */
void count(Counter counter);

/* Return: the sum over all possible CPUs; monotonic. Context: any. */
[[nodiscard]] u64 counted(Counter counter);

} /* namespace zem */
