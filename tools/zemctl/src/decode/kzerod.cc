// SPDX-License-Identifier: GPL-2.0
/*
 * kzerod: the running totals of the zero-page daemon.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace zemctl {

namespace kzerod {

static std::string line(Bytes payload)
{
	const auto totals = copy_payload<zem_kzerod>(payload);
	return fmt::format("pages: {} failed, {} prezeroed; lists: {} allocated, {} broken down, "
			   "{} drained",
			   totals.zero_page_alloc_failed, totals.zero_page_alloc_prezero,
			   totals.zero_page_list_alloc_total, totals.zero_page_list_breakdown_total,
			   totals.zero_page_list_drain_total);
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto totals = copy_payload<zem_kzerod>(payload);
	return {
		{"unit", "pages"},
		{"zero_page_alloc_failed", totals.zero_page_alloc_failed},
		{"zero_page_alloc_prezero", totals.zero_page_alloc_prezero},
		{"zero_page_list_alloc_total", totals.zero_page_list_alloc_total},
		{"zero_page_list_breakdown_total", totals.zero_page_list_breakdown_total},
		{"zero_page_list_drain_total", totals.zero_page_list_drain_total},
	};
}

} // namespace kzerod

const Decoder kKzerodDecoder = {sizeof(zem_kzerod), kzerod::line, nullptr, kzerod::json};

} // namespace zemctl
