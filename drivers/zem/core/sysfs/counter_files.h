/* SPDX-License-Identifier: GPL-2.0 */
/* The files of /sys/module/zem/counters. Context: process; may sleep. */
#pragma once

namespace zem {

/*
 * Creates the directory and its files. They read the ring buffer, which must exist. A failure is
 * logged and leaves no directory; the module works without it.
 */
void counter_files_create();

/* Returns when no reader is left. Call before the ring buffer is freed. */
void counter_files_remove();

} /* namespace zem */
