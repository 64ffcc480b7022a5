/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /sys/module/zem/counters. Process context; may sleep. */
#pragma once

#include "core/counters.h"

namespace zem {

/* Return: the sum over all possible CPUs; monotonic. Context: any. */
[[nodiscard]] u64 counted(Counter counter);

/*
 * Creates the directory and its files; they read the ring buffer, which therefore exists before
 * them. A failure is logged and leaves no directory: the module works without its counters.
 */
void counter_files_create();

/* Returns after the last reader has left; before the ring buffer is freed. */
void counter_files_remove();

} /* namespace zem */
