/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The host tests' view of the module beyond its exports and files. The table exists only in the
 * host's build of the module, so that tests depend neither on internal names nor on the location of
 * values.
 */
#pragma once

#include "io/bio_counters.h"
#include "kernel/api/types.h"
#include "load/clusters.h"
#include "uapi/linux/zem.h"

struct bio;
struct task_struct;
struct trace_buffer;

namespace test {

struct Inside {
	using Setter = void (*)(u64 reserved, const void *data, int len, u32 sub_type);

	/* core */
	trace_buffer *(*ring_buffer)();
	void (*set_ring_buffer)(trace_buffer *ring);
	void (*set_bytes_in_use)(u32 bytes); /* of the shared buffer */

	/* sched */
	void *(*sched_counters)(unsigned int cpu);
	const zem_sched *(*sched_upload)();
	ssize_t (*write_sched_switch)(const char *text, size_t count);

	/* load */
	u64 (*window_end)(); /* and start of the open window; ns, as are the next two */
	u64 (*window_start)();
	u64 (*window_length)();
	void (*close_window)();
	void (*upload_cpus)(Setter set);
	void (*upload_tasks)(Setter set);
	void (*sample_task)(task_struct *task, u64 window);
	zem::ClusterUnit *(*cluster_units)();
	u32 (*cluster_of_cpu)(unsigned int cpu);
	u64 (*percent_of_capacity)(u64 value);

	/* load, health. Sums are rows of three words. */
	int (*add_health_sums)(u64 *rows);
	void (*add_health_row)(u64 *row, const u64 *more);
	u32 *(*group_ids)();
	void (*upload_groups)(Setter set);
	const zem_cgroup *(*group_record)();

	/* io */
	void (*set_indicators)(int on);
	u32 (*bio_size)(const bio *bio);
	u32 (*bio_class)(bio *bio);
	void (*mark_bio)(bio *bio);
	int (*device_number)(const char *path, u32 *number);
	zem::BioCounters *(*bio_counters)();
	zem_kio *(*snapshot)();
	u32 (*uid_state)(u32 uid);
};

} /* namespace test */
