/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The list of important ("SVP") tasks that have run since the last collection, and the probes that
 * put them there.
 */
#pragma once

struct llist_node;
struct proc_file;
struct task_ext;

namespace zem {

/* Gates enrolment and the allocation of counters; on at load. */
extern const proc_file svp_metrics_switch;

/* Context: may sleep. */
void svp_enrolment_attach();
/* Returns when no task can enrol any more. */
void svp_enrolment_detach();

[[nodiscard]] bool has_enrolled();

/*
 * Takes all enrolled tasks off the list, with a reference to each for release_enrolled().
 * Return: the most recent one, linked to the others; null if there is none.
 */
[[nodiscard]] llist_node *take_enrolled();

/* Once the record is unlisted, the platform may free it and the task may enrol again. */
void release_enrolled(task_ext &record);

} /* namespace zem */
