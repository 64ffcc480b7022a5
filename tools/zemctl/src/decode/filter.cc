// SPDX-License-Identifier: GPL-2.0
/*
 * Selects records by what they are about.
 */
#include "decode/filter.h"

#include <algorithm>
#include <utility>

#include <fnmatch.h>

namespace zemctl {

namespace {

/* A criterion that is not given is met. */
template <typename... Numbers>
bool is_one_of(const std::vector<std::uint32_t> &wanted, const Numbers &...numbers)
{
	return wanted.empty() || std::ranges::any_of(wanted, [&](std::uint32_t number) {
		       return ((numbers == number) || ...);
	       });
}

bool matches_one_of(const std::vector<std::string> &patterns, std::string_view name)
{
	if (patterns.empty())
		return true;
	if (name.data() == nullptr)
		return false;
	const std::string text(name);
	return std::ranges::any_of(patterns, [&text](const std::string &pattern) {
		return ::fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
	});
}

} // namespace

Filter::Filter(Criteria criteria)
	: criteria_(std::move(criteria)),
	  asks_for_subject_(!criteria_.uids.empty() || !criteria_.pids.empty() ||
			    !criteria_.comms.empty() || !criteria_.packages.empty() ||
			    !criteria_.cgroups.empty())
{
}

bool Filter::accepts(const Record &record) const
{
	if (!contains(criteria_.channels, record.header.channel))
		return false;
	if (criteria_.since && record.header.timestamp < *criteria_.since)
		return false;
	if (criteria_.until && record.header.timestamp >= *criteria_.until)
		return false;
	if (!asks_for_subject_)
		return true;
	const Subjects subjects(record);
	return std::ranges::any_of(subjects.all(),
				   [this](const Subject &subject) { return accepts(subject); });
}

bool Filter::accepts(const Subject &subject) const
{
	return is_one_of(criteria_.uids, subject.uid) &&
	       is_one_of(criteria_.pids, subject.pid, subject.tgid) &&
	       matches_one_of(criteria_.comms, subject.comm) &&
	       matches_one_of(criteria_.packages, subject.package) &&
	       matches_one_of(criteria_.cgroups, subject.cgroup);
}

} // namespace zemctl
