/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The data of a report as JSON. Only the script of the page reads it, which belongs to the same
 * zemctl, so it has no schema. Times are ms since the start.
 */
#pragma once

#include <cstdint>
#include <string_view>

#include "report/report_data.h"
#include "text/json_writer.h"

namespace zemctl {

struct ReportHead {
	std::string_view file;
	std::string_view end; /* the reason for the end of the capture */
	std::uint64_t records;
};

void report_json(const ReportData &data, const ReportHead &head, JsonWriter &json);

} // namespace zemctl
