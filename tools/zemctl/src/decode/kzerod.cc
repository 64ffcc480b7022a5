// SPDX-License-Identifier: GPL-2.0
/*
 * kzerod: the running totals of the zero-page daemon.
 */
#include "decode/decoder.h"

namespace zemctl {

namespace kzerod {

static void line(Bytes payload, TextBuffer &out)
{
	const auto totals = copy_payload<zem_kzerod>(payload);
	out.put("pages: ").number(totals.zero_page_alloc_failed).put(" failed, ");
	out.number(totals.zero_page_alloc_prezero).put(" prezeroed; lists: ");
	out.number(totals.zero_page_list_alloc_total).put(" allocated, ");
	out.number(totals.zero_page_list_breakdown_total).put(" broken down, ");
	out.number(totals.zero_page_list_drain_total).put(" drained");
}

static void json(Bytes payload, JsonWriter &json)
{
	const auto totals = copy_payload<zem_kzerod>(payload);
	json.signed_count("zero_page_alloc_failed_pages", totals.zero_page_alloc_failed);
	json.signed_count("zero_page_alloc_prezero_pages", totals.zero_page_alloc_prezero);
	json.signed_count("zero_page_list_alloc_total_pages", totals.zero_page_list_alloc_total);
	json.signed_count("zero_page_list_breakdown_total_pages",
			  totals.zero_page_list_breakdown_total);
	json.signed_count("zero_page_list_drain_total_pages", totals.zero_page_list_drain_total);
}

} // namespace kzerod

const Decoder kKzerodDecoder = {sizeof(zem_kzerod), kzerod::line, nullptr, kzerod::json};

} // namespace zemctl
