/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Exports a capture as a stream of JSON objects, as zemctl dump --json prints it.
 */
#pragma once

#include <memory>

#include "export/sink.h"
#include "text/output.h"

namespace zemctl {

std::unique_ptr<ExportSink> make_json_sink(Output &output);

} // namespace zemctl
