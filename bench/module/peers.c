// SPDX-License-Identifier: GPL-2.0
/*
 * Measures one record by the means that the kernel has: relay, an event of ftrace, and
 * trace_printk().
 */
#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/ktime.h>
#include <linux/relay.h>
#include <linux/string.h>
#include <linux/trace_events.h>

#include <linux/zem.h>

#include "bench.h"

#define CREATE_TRACE_POINTS
#include "peers_event.h"

#define SUB_BUFFER_SIZE 65536
#define SUB_BUFFERS 8

static u8 payload[4096];
static struct rchan *channel;
static struct dentry *folder;

static struct dentry *create_file(const char *name, struct dentry *parent, umode_t mode,
				  struct rchan_buf *buffer, int *is_global)
{
	return debugfs_create_file(name, mode, parent, buffer, &relay_file_operations);
}

static int remove_file(struct dentry *file)
{
	debugfs_remove(file);
	return 0;
}

#ifdef KERNEL_RELAY_TELLS_PADDING
#define AND_PADDING , size_t padding
#else
#define AND_PADDING
#endif

/* Overwrites the oldest records, as zem's ring does. */
static int start_sub_buffer(struct rchan_buf *buffer, void *sub_buffer, void *before AND_PADDING)
{
	return 1;
}

static const struct rchan_callbacks callbacks = {
	.subbuf_start = start_sub_buffer,
	.create_buf_file = create_file,
	.remove_buf_file = remove_file,
};

static int peers_begin(const int *numbers, unsigned int count)
{
	int error;

	folder = debugfs_create_dir("zem_bench_relay", NULL);
	channel = relay_open("record", folder, SUB_BUFFER_SIZE, SUB_BUFFERS, &callbacks, NULL);
	error = channel ? trace_set_clr_event("zem_bench", "zem_bench_record", 1) : -ENOMEM;
	if (error) {
		if (channel)
			relay_close(channel);
		debugfs_remove(folder);
	}
	return error;
}

static void peers_end(void)
{
	trace_set_clr_event("zem_bench", "zem_bench_record", 0);
	relay_close(channel);
	debugfs_remove(folder);
}

/* The writer makes the record, because relay copies bytes only. */
static void write_to_relay(unsigned long len)
{
	struct {
		struct zem_record_header header;
		u8 payload[456];
	} record;

	record.header = (struct zem_record_header){
		.len = len,
		.channel = ZEM_CHANNEL_TEST,
		.sub_type = 7,
		.train_number = 1,
		.timestamp = ktime_get_real_ns(),
	};
	memcpy(record.payload, payload, len);
	relay_write(channel, &record, sizeof(record.header) + len);
}

static void raise_event(unsigned long len)
{
	trace_zem_bench_record(ZEM_CHANNEL_TEST, 7, 1, payload, len);
}

/* Prints the first byte of the payload only. */
static void print_text(unsigned long unused)
{
	trace_printk("channel=%u sub_type=%u train_number=%u value=%u\n", ZEM_CHANNEL_TEST, 7, 1,
		     payload[0]);
}

static const struct bench_row rows[] = {
	{.name = "relay_write/4", .call = write_to_relay, .argument = 4},
	{.name = "relay_write/456", .call = write_to_relay, .argument = 456},
	{.name = "ftrace_event/4", .call = raise_event, .argument = 4},
	{.name = "ftrace_event/456", .call = raise_event, .argument = 456},
	{.name = "trace_printk/4", .call = print_text},
};

const struct bench_table peers_table = {
	.name = "peers",
	.rows = rows,
	.count = ARRAY_SIZE(rows),
	.calls = 400,
	.begin = peers_begin,
	.end = peers_end,
};
