/* SPDX-License-Identifier: GPL-2.0 WITH Linux-syscall-note */
/*
 * The wire format of zem: records as producers push them, in /dev/zem_shared and in captures. For
 * the kernel, zemctl and third parties, in C and C++.
 *
 * A record is a struct zem_record_header followed by `len` bytes of payload. There is no padding
 * between records, so a header may start at any byte: copy it before reading a field. All integers
 * are little-endian.
 *
 * This header defines records and channels. The payloads are in zem/sched.h, zem/load.h, zem/io.h
 * and zem/usb.h.
 */
#ifndef _UAPI_LINUX_ZEM_H
#define _UAPI_LINUX_ZEM_H

#include <linux/types.h>

#include "zem/assert.h"
#include "zem/io.h"
#include "zem/load.h"
#include "zem/sched.h"
#include "zem/usb.h"

/* The interface to user space. */
#define ZEM_SYSFS_DIR "/sys/zem"
#define ZEM_SHARED_DEVICE "/dev/zem_shared"

/* Size of the shared buffer, and the largest mapping of /dev/zem_shared, in bytes. */
#define ZEM_SHARED_SIZE 8192
/* The kernel notifies pollers of /sys/zem/trace when more bytes than this are in use. */
#define ZEM_NOTIFY_LEVEL 7936
/* The largest payload that a setter accepts, in bytes. */
#define ZEM_PAYLOAD_MAX 7904
/* The largest payload that a write to a channel's attribute accepts, in bytes. */
#define ZEM_STORE_MAX 479

/*
 * The channels in the order of their ids: X(SYMBOL, name). The channel's attribute in /sys/zem has
 * the same name, and its setter is <name>_zem_set().
 */
#define ZEM_CHANNELS(X)             \
	X(TRACE, trace)             \
	X(USB, usb)                 \
	X(DISPLAY, display)         \
	X(KMEM, kmem)               \
	X(SCHED, sched)             \
	X(KIO, kio)                 \
	X(DP, dp)                   \
	X(WIFI, wifi)               \
	X(GPU, gpu)                 \
	X(TRAINTIME, traintime)     \
	X(FS, fs)                   \
	X(TEST, test)               \
	X(KZEROD, kzerod)           \
	X(SMARTPA, smartpa)         \
	X(SVP, svp)                 \
	X(CHARGER, charger)         \
	X(LOAD, load)               \
	X(CPU, cpu)                 \
	X(CGROUP, cgroup)           \
	X(TOUCHSCREEN, touchscreen) \
	X(BATTERY, battery)

#define ZEM_CHANNEL_ENUMERATOR(symbol, name) ZEM_CHANNEL_##symbol,
enum zem_channel { ZEM_CHANNELS(ZEM_CHANNEL_ENUMERATOR) ZEM_CHANNEL_COUNT };
#undef ZEM_CHANNEL_ENUMERATOR

ZEM_STATIC_ASSERT(ZEM_CHANNEL_TRACE == 0, "channel ids start at 0");
ZEM_STATIC_ASSERT(ZEM_CHANNEL_TEST == 11, "test is channel 11");
ZEM_STATIC_ASSERT(ZEM_CHANNEL_BATTERY == 20, "battery is channel 20");
ZEM_STATIC_ASSERT(ZEM_CHANNEL_COUNT == 21, "there are 21 channels");

/**
 * struct zem_record_header - header of every record
 * @timestamp: wall-clock time of the reservation, ns since the epoch
 * @train_number: batch number, the last number written to /sys/zem/trigger; 1 after load
 * @channel: enum zem_channel
 * @sub_type: chosen by the producer; 0 in all records that the hub itself pushes
 * @reserved0: no meaning; readers ignore it
 * @len: bytes of payload after this header
 * @reserved1: no meaning; readers ignore it
 */
struct zem_record_header {
	__u64 timestamp;
	__u32 train_number;
	__u8 channel;
	__u8 sub_type;
	__u8 reserved0[10];
	__u32 len;
	__u8 reserved1[4];
};

ZEM_ASSERT_SIZE(zem_record_header, 32);
ZEM_ASSERT_OFFSET(zem_record_header, timestamp, 0);
ZEM_ASSERT_OFFSET(zem_record_header, train_number, 8);
ZEM_ASSERT_OFFSET(zem_record_header, channel, 12);
ZEM_ASSERT_OFFSET(zem_record_header, sub_type, 13);
ZEM_ASSERT_OFFSET(zem_record_header, reserved0, 14);
ZEM_ASSERT_OFFSET(zem_record_header, len, 24);
ZEM_ASSERT_OFFSET(zem_record_header, reserved1, 28);

#define ZEM_HEADER_SIZE 32

/**
 * struct zem_kmem - payload of the kmem channel
 * @data: the memory-indicator provider's block, unchanged
 */
struct zem_kmem {
	__u8 data[864];
};

ZEM_ASSERT_SIZE(zem_kmem, 864);
ZEM_ASSERT_OFFSET(zem_kmem, data, 0);

#endif /* _UAPI_LINUX_ZEM_H */
