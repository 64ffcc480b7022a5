/* SPDX-License-Identifier: GPL-2.0 */
/* What the host's kernel layer has counted, and what the module has registered. */
#pragma once

#include <span>

#include "host/objects.h"
#include "kernel/api/ring_buffer.h"

namespace host {

/* Return: the function that the module registered with the load feed; null without one. */
void (*load_feed())(task_struct *task, u32 cluster, u64 delta);

/*
 * Sets the function that a wait calls if there is no signal. It must signal, because no other
 * thread runs. Return of the other one: the number of such waits.
 */
void signal_when_idle(void (*signal)());
unsigned long waits_without_signal();

/* Return: the number of records that a CPU has committed. */
u64 committed(const trace_buffer *ring, unsigned int cpu);

/* Return: the bytes of the record that a CPU committed last. */
std::span<const u8> last_record(const trace_buffer *ring, unsigned int cpu);

} /* namespace host */
