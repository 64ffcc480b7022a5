// SPDX-License-Identifier: GPL-2.0
/*
 * Checks a file of stamped records, bare or in a capture: the order on each CPU, missing or
 * repeated sequence numbers, and every byte of the payloads.
 */
#include "commands.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "records.h"
#include "system.h"

namespace {

struct PerCpu {
	std::vector<std::uint64_t> sequences;
	std::uint64_t last_time = 0;
	unsigned long out_of_order = 0;
};

struct Findings {
	std::map<unsigned int, PerCpu> cpus;
	unsigned long records = 0;
	unsigned long torn = 0; /* without a valid stamp */
	unsigned long elsewhere = 0; /* of another channel or context than expected */
	unsigned long left_over = 0; /* bytes after the last whole record */
	std::uint32_t shortest = ~0u;
	std::uint32_t longest = 0;
};

/* The expected values; negative: any. */
struct Wanted {
	long long channel = -1;
	long long context = -1;
};

void examine(const Record &record, const Wanted &wanted, Findings &findings)
{
	const zem_record_header &header = record.header;
	findings.records++;
	findings.shortest = std::min(findings.shortest, header.len);
	findings.longest = std::max(findings.longest, header.len);
	const auto stamp = stamp_of(record);
	if (!stamp || !is_whole(record, *stamp)) {
		findings.torn++;
		return;
	}
	if ((wanted.channel >= 0 && header.channel != wanted.channel) ||
	    (wanted.context >= 0 && stamp->context != wanted.context))
		findings.elsewhere++;

	PerCpu &cpu = findings.cpus[stamp->cpu];
	const bool is_later = cpu.sequences.empty() || (stamp->sequence > cpu.sequences.back() &&
							header.timestamp >= cpu.last_time);
	cpu.out_of_order += !is_later;
	cpu.sequences.push_back(stamp->sequence);
	cpu.last_time = header.timestamp;
}

Findings examine_all(Bytes bytes, const Wanted &wanted)
{
	Findings findings;
	while (const auto record = first_record(bytes)) {
		if (record->header.channel != kMarkChannel)
			examine(*record, wanted, findings);
		bytes = bytes.subspan(record->size());
	}
	findings.left_over = bytes.size();
	return findings;
}

void report(Findings &findings)
{
	unsigned long missing = 0, repeated = 0, out_of_order = 0;
	for (auto &[number, cpu] : findings.cpus) {
		std::ranges::sort(cpu.sequences);
		for (std::size_t i = 1; i < cpu.sequences.size(); i++) {
			const std::uint64_t step = cpu.sequences[i] - cpu.sequences[i - 1];
			repeated += step == 0;
			missing += step > 1 ? step - 1 : 0;
		}
		out_of_order += cpu.out_of_order;
	}
	std::printf("records=%lu cpus=%zu missing=%lu repeated=%lu out_of_order=%lu torn=%lu "
		    "elsewhere=%lu left_over=%lu\n",
		    findings.records, findings.cpus.size(), missing, repeated, out_of_order,
		    findings.torn, findings.elsewhere, findings.left_over);
	std::printf("lengths=%u-%u per_cpu=", findings.shortest, findings.longest);
	for (const auto &[number, cpu] : findings.cpus)
		std::printf("%s%zu", number == findings.cpus.begin()->first ? "" : ",",
			    cpu.sequences.size());
	std::printf("\n");
}

} // namespace

/* The caller judges the counts, because tests differ in what may be missing. */
int run_verify(Arguments arguments)
{
	Wanted wanted;
	for (const std::string argument : arguments.subspan(1)) {
		const std::size_t equals = argument.find('=');
		const std::string name = argument.substr(0, equals);
		if (equals == std::string::npos || (name != "channel" && name != "context")) {
			std::fprintf(stderr, "zemtest: verify: %s?\n", argument.c_str());
			return 2;
		}
		(name == "channel" ? wanted.channel : wanted.context) =
			number(argument.c_str() + equals + 1);
	}
	const std::vector<unsigned char> records = records_of(read_whole(arguments[0]));
	Findings findings = examine_all(records, wanted);
	report(findings);
	return 0;
}

int run_count(Arguments arguments)
{
	const std::vector<unsigned char> records = records_of(read_whole(arguments[0]));
	Bytes bytes = records;
	unsigned long count = 0;
	while (const auto record = first_record(bytes)) {
		count += record->header.channel != kMarkChannel;
		bytes = bytes.subspan(record->size());
	}
	std::printf("%lu\n", count);
	return 0;
}
