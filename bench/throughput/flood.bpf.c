// SPDX-License-Identifier: GPL-2.0
/* Sends each record of the event zem_flood_record to a ring buffer, as a BPF tool would. */
#include <linux/bpf.h>

#include <bpf/bpf_helpers.h>

struct {
	__uint(type, BPF_MAP_TYPE_RINGBUF);
	/* 256 KiB for each of eight CPUs. */
	__uint(max_entries, 2 << 20);
} records SEC(".maps");

/* The arguments of the event. */
struct arguments {
	const void *payload;
	__u64 len;
};

static __always_inline int send(const struct arguments *arguments, __u32 size)
{
	void *record = bpf_ringbuf_reserve(&records, size, 0);

	if (!record)
		return 0;
	bpf_probe_read_kernel(record, size, arguments->payload);
	bpf_ringbuf_submit(record, 0);
	return 0;
}

SEC("raw_tp/zem_flood_record")
int send_36(const struct arguments *arguments)
{
	return send(arguments, 36);
}

SEC("raw_tp/zem_flood_record")
int send_456(const struct arguments *arguments)
{
	return send(arguments, 456);
}

char licence[] SEC("license") = "GPL";
