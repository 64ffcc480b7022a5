/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Per-task metrics of important ("SVP") tasks: who has run since the last collection, and the
 * collection that turns each of them into a record.
 */
#pragma once

#include "core/records.h"
#include "kernel/static_key.h"
#include "uapi/linux/zem.h"

namespace zem {

/* Gates the enrolment of tasks and the making of their counters; on at load. */
extern StaticKey<true> svp_metrics_enable;

/* May sleep. Return: 0 or -ENOMEM. */
[[nodiscard]] int svp_metrics_init();
void svp_metrics_destroy();

/* Who looks at a collection. Both are called in its lock; they may sleep. */
struct SvpVisitor {
	/* @tasks have enrolled. Return: false to leave them where they are. Null: always go on. */
	bool (*begin)(size_t tasks, void *context);
	/* Gets each task's record, valid during the call. */
	void (*visit)(const zem_svp &unit, void *context);
	void *context;
};

/*
 * Takes every enrolled task off the list, shows its record to @visitor, which may be null, and
 * zeroes its counters. May sleep.
 */
void svp_metrics_info_iter(const SvpVisitor *visitor);

/* One record for each collected task through @set; null: the counters are only zeroed. */
void svp_metrics_info_upload(Setter set);

/* svp_metrics_proc.cc. May sleep. Return: 0 or -ENOMEM. */
[[nodiscard]] int proc_svp_metrics_init();
void proc_svp_metrics_destroy();

} /* namespace zem */
