// SPDX-License-Identifier: GPL-2.0
/*
 * cpu: the activity of one CPU since its previous record.
 */
#include "decode/decoder.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "decode/capacity.h"

namespace zemctl {

namespace cpu {

static std::string line(Bytes payload)
{
	const auto cpu = copy_payload<zem_cpu>(payload);
	return fmt::format("cpu{}: {} % of full capacity, usage {}; {} cycles in all", cpu.cpu,
			   percent_of_capacity(cpu.usage), cpu.usage, cpu.cycles);
}

static nlohmann::ordered_json json(Bytes payload)
{
	const auto cpu = copy_payload<zem_cpu>(payload);
	return {
		{"capacity_full", ZEM_CAPACITY_FULL},
		{"cpu", cpu.cpu},
		{"cycles", cpu.cycles},
		{"usage", cpu.usage},
		{"usage_percent", percent_of_capacity(cpu.usage)},
	};
}

} // namespace cpu

const Decoder kCpuDecoder = {sizeof(zem_cpu), cpu::line, nullptr, cpu::json};

} // namespace zemctl
