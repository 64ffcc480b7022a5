/* SPDX-License-Identifier: GPL-2.0 */
/* The capacity that each CPU uses. Context: process. */
#pragma once

#include "core/common/setter.h"
#include "kernel/function_ref.h"
#include "load/load_samples.h"
#include "uapi/linux/zem.h"

namespace zem {

/* Samples the CPUs in ascending order, once for each window. */
void sample_cpus(CpuSamples &samples, FunctionRef<void(const zem_cpu &unit)> emit);

/* Closes the window, and uploads a record for each CPU through @set, which may be null. */
void cpu_metrics_info_upload(Setter set);

} /* namespace zem */
