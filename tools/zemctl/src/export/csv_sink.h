/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Exports a capture as a folder of comma-separated values: one file for each family of records, one
 * for the records that are not decoded, one for the losses and one for the clocks.
 */
#pragma once

#include <memory>
#include <string>

#include "export/sink.h"

namespace zemctl {

/* Creates @folder if it does not exist, and all files in it. */
std::unique_ptr<ExportSink> make_csv_sink(const std::string &folder);

} // namespace zemctl
