// SPDX-License-Identifier: GPL-2.0
/*
 * cpu: the activity of one CPU since its previous record.
 */
#include "decode/decoder.h"

#include "decode/capacity.h"

namespace zemctl {

namespace cpu {

static void line(Bytes payload, TextBuffer &out)
{
	const auto cpu = copy_payload<zem_cpu>(payload);
	out.put("cpu").number(cpu.cpu).put(": ").number(percent_of_capacity(cpu.usage));
	out.put(" % of full capacity, usage ").number(cpu.usage).put("; ").number(cpu.cycles);
	out.put(" cycles in all");
}

static void json(Bytes payload, JsonWriter &json)
{
	const auto cpu = copy_payload<zem_cpu>(payload);
	json.number("cpu", cpu.cpu);
	json.decimal("cycles", cpu.cycles);
	json.count("usage", cpu.usage);
	json.count("usage_percent", percent_of_capacity(cpu.usage));
}

} // namespace cpu

const Decoder kCpuDecoder = {sizeof(zem_cpu), cpu::line, nullptr, cpu::json};

} // namespace zemctl
