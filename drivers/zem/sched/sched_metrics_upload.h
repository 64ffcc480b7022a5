/* SPDX-License-Identifier: GPL-2.0 */
/* The record of the histograms. Context: process. */
#pragma once

#include "core/common/setter.h"

namespace zem {

/* Call before the first upload. */
void sched_metrics_upload_init();

/* Uploads the increase since the last call through @set, which may be null. */
void sched_metrics_info_upload(Setter set);

} /* namespace zem */
