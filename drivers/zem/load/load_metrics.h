/* SPDX-License-Identifier: GPL-2.0 */
/* The accounting of run time, and the switches of the load family. */
#pragma once

#include "kernel/static_key.h"

namespace zem {

/* Gates the accounting of run time; on at load. */
extern StaticKey<true> load_metrics_enable;
/* Gates only the uploads: the values are still computed and consumed. */
extern StaticKey<false> load_metrics_report;
/* Samples every thread instead of every process. */
extern StaticKey<false> thread_metrics_enable;

/* Context: may sleep. */
void load_metrics_attach();
/* Returns when the accounting has ended. */
void load_metrics_detach();

} /* namespace zem */
