/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Writes a report of a capture: one page of HTML with its scripts, styles and data, for any browser
 * and without a network.
 */
#pragma once

#include <memory>
#include <string>

#include "export/sink.h"
#include "text/output.h"

namespace zemctl {

/* @name is the name of the capture in the page. */
std::unique_ptr<ExportSink> make_report_sink(Output &output, std::string name);

} // namespace zemctl
