/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Exports a capture as a Perfetto trace: counters of CPUs, clusters, processes, groups and devices,
 * slices for USB connections and long waits, and instants for other records and for losses.
 */
#pragma once

#include <memory>

#include "export/sink.h"
#include "text/output.h"

namespace zemctl {

std::unique_ptr<ExportSink> make_perfetto_sink(Output &output);

} // namespace zemctl
