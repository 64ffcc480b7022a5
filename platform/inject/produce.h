/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The payloads of the test producer, for the tests that check them.
 *
 * Byte i of the n-th record that a CPU produced (n from 0) is the low byte of n + i. Payloads of at
 * least sizeof(struct produce_stamp) bytes begin with a stamp instead.
 */
#ifndef _ZEM_PLATFORM_PRODUCE_H
#define _ZEM_PLATFORM_PRODUCE_H

#include <linux/types.h>

enum produce_context {
	PRODUCE_TASK,
	PRODUCE_SOFTIRQ,
	PRODUCE_HARDIRQ,
	PRODUCE_RUN_QUEUE, /* under the CPU's run-queue lock */
	PRODUCE_NMI, /* an interrupt of the CPU's cycle counter that nothing masks */
	PRODUCE_CONTEXTS
};

struct produce_stamp {
	__u64 sequence; /* n, counted for each CPU */
	__u16 cpu;
	__u8 context; /* enum produce_context, as detected by the producing code */
	__u8 reserved;
	__u32 checksum; /* CRC-32 of the payload with this field 0 */
};

#endif /* _ZEM_PLATFORM_PRODUCE_H */
