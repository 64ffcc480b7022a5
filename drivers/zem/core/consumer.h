/* SPDX-License-Identifier: GPL-2.0 */
/* The thread "rb_consumer": moves records from the ring buffer into the shared buffer. */
#pragma once

struct kobject;
struct task_struct;

namespace zem {

/*
 * Makes the thread, not yet running; wake_up_process() starts it. @node: the directory whose
 * file "trace" pollers watch; it outlives the thread. Return: null when there is no thread.
 */
[[nodiscard]] task_struct *consumer_create(kobject *node);

/* Waits for the thread to end, which takes one more record or signal. */
void consumer_stop(task_struct *consumer);

} /* namespace zem */
