// SPDX-License-Identifier: GPL-2.0
/*
 * Reads the payloads of marks that are lists.
 */
#include "records/marks.h"

#include "text/words.h"

namespace zemctl {

std::vector<CpuDescription> cpus_of(const Mark &mark)
{
	std::vector<CpuDescription> cpus(mark.payload.size() / sizeof(CpuDescription));
	if (!cpus.empty())
		std::memcpy(cpus.data(), mark.payload.data(), cpus.size() * sizeof(CpuDescription));
	return cpus;
}

std::vector<PackageName> packages_in(std::string_view lines)
{
	std::vector<PackageName> packages;
	while (!lines.empty()) {
		const std::string_view line = take_line(lines);
		const std::size_t space = line.find(' ');
		const auto uid = parse_number<std::uint32_t>(line.substr(0, space));
		if (uid && space != std::string_view::npos)
			packages.push_back({*uid, line.substr(space + 1)});
	}
	return packages;
}

std::vector<PackageName> packages_of(const Mark &mark)
{
	return packages_in(
		{reinterpret_cast<const char *>(mark.payload.data()), mark.payload.size()});
}

CaptureTotals growth_of(const CaptureTotals &now, const CaptureTotals &before)
{
	CaptureTotals growth = {};
	for (const auto total :
	     {&CaptureTotals::records, &CaptureTotals::bytes, &CaptureTotals::lost_bytes,
	      &CaptureTotals::gaps, &CaptureTotals::dropped_records, &CaptureTotals::dropped_bytes,
	      &CaptureTotals::kernel_lost})
		growth.*total = now.*total - std::min(now.*total, before.*total);
	return growth;
}

} // namespace zemctl
