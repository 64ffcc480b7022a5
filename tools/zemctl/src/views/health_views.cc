// SPDX-License-Identifier: GPL-2.0
/*
 * Parses the text files with the waiting times of groups of tasks.
 */
#include "views/health_views.h"

#include <array>

#include <fmt/format.h>

#include "base/errors.h"
#include "text/words.h"

namespace zemctl {

namespace {

constexpr std::string_view kSumsTitle = "the sum of sched health information are:";

/* The name of a group in a record, and in the names of the sums. */
struct GroupName {
	std::string_view group;
	std::string_view sums;
};

constexpr std::array<GroupName, ZEM_CGROUPS> kGroupNames = {{
	{"all", "total"},
	{"root", "root"},
	{"fg", "fg"},
	{"top", "top"},
	{"bg", "bg"},
	{"sysbg", "sysbg"},
	{"svp", "svp"},
}};

zem_cgroup_entry made_entry(std::string_view name, const std::array<std::uint64_t, 3> &times)
{
	zem_cgroup_entry entry = {};
	name.copy(entry.name, sizeof(entry.name) - 1);
	entry.lat = times[0];
	entry.d_io = times[1];
	entry.d_nonio = times[2];
	return entry;
}

} // namespace

zem_cgroup parse_health_interval(std::string_view text)
{
	zem_cgroup result = {};
	for (std::size_t i = 0; i < kGroupNames.size(); i++) {
		if (text.empty())
			throw Failure(fmt::format("ends before the line of \"{}\"",
						  kGroupNames[i].group));
		const std::string_view line = take_line(text);
		const auto words = words_of(line);
		if (words.size() != 4 || words[0] != kGroupNames[i].group)
			not_understood(line);
		result.entries[i] =
			made_entry(words[0], {number_of<std::uint64_t>(words[1], line),
					      number_of<std::uint64_t>(words[2], line),
					      number_of<std::uint64_t>(words[3], line)});
	}
	if (!text.empty())
		not_understood(take_line(text));
	return result;
}

zem_cgroup parse_health_sums(std::string_view text)
{
	const std::size_t title = text.rfind(kSumsTitle);
	if (title == std::string_view::npos)
		throw Failure("the sums are missing");
	text.remove_prefix(title);
	take_line(text);

	zem_cgroup result = {};
	for (std::size_t i = 0; i < kGroupNames.size(); i++) {
		constexpr std::array kTimes = {"lat", "d_io", "d_nonio"};
		const std::string_view line = take_line(text);
		const auto words = words_of(line);
		if (words.size() != 2 * kTimes.size())
			not_understood(line);
		std::array<std::uint64_t, kTimes.size()> times;
		for (std::size_t time = 0; time < kTimes.size(); time++) {
			if (words[2 * time] !=
			    fmt::format("{}_{}:", kGroupNames[i].sums, kTimes[time]))
				not_understood(line);
			times[time] = number_of<std::uint64_t>(words[2 * time + 1], line);
		}
		result.entries[i] = made_entry(kGroupNames[i].group, times);
	}
	return result;
}

} // namespace zemctl
