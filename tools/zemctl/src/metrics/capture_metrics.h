/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The metrics of a capture.
 */
#pragma once

#include <string>

#include "records/capture_reader.h"

namespace zemctl {

/*
 * Reads the capture to its end. Returns its metrics as OpenMetrics text. The samples have the time
 * of the last record or mark. The counters have the time of the first one as their start. Losses
 * are in the metrics, too.
 */
std::string openmetrics_of(CaptureReader &reader);

} // namespace zemctl
