/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What the test producer puts into its payloads, for the tests that check them.
 *
 * Byte i of the n-th record that a CPU produced (n from 0) is the low byte of n + i, but for the
 * stamp that payloads of at least sizeof(struct produce_stamp) bytes begin with.
 */
#ifndef _ZEM_PLATFORM_PRODUCE_H
#define _ZEM_PLATFORM_PRODUCE_H

#include <linux/types.h>

enum produce_context { PRODUCE_TASK, PRODUCE_SOFTIRQ, PRODUCE_HARDIRQ, PRODUCE_CONTEXTS };

struct produce_stamp {
	__u64 sequence; /* n, counted by CPU */
	__u16 cpu;
	__u8 context; /* enum produce_context, as found by the code that ran there */
	__u8 reserved;
	__u32 checksum; /* CRC-32 of the payload with this field 0 */
};

#endif /* _ZEM_PLATFORM_PRODUCE_H */
