/* SPDX-License-Identifier: GPL-2.0 */
/* The thread "rb_consumer": moves records from the ring buffer into the shared buffer. */
#pragma once

struct kobject;
struct task_struct;

namespace zem {

/*
 * Creates the thread, which wake_up_process() starts. @node is the directory with the file "trace"
 * for pollers; it must outlive the thread. Return: null on failure.
 */
[[nodiscard]] task_struct *consumer_create(kobject *node);

/* Waits for the thread to end, which needs one more record or signal. */
void consumer_stop(task_struct *consumer);

} /* namespace zem */
