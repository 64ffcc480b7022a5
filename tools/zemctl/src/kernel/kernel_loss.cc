// SPDX-License-Identifier: GPL-2.0
/*
 * The module's counters of lost records.
 */
#include "kernel/kernel_loss.h"

#include <algorithm>
#include <cerrno>

#include <fmt/format.h>
#include <unistd.h>

#include "kernel/files.h"

namespace zemctl {

namespace {

constexpr std::array<std::string_view, kLossCounters.size()> kLossWords = {
	"overwritten",
	"refused",
	"too large",
	"dropped",
};

} // namespace

KernelCounters KernelCounters::read(const std::string &directory)
{
	KernelCounters counters;
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		const std::string path = fmt::format("{}/{}", directory, kModuleCounters[i]);
		if (::access(path.c_str(), F_OK) == 0 || errno != ENOENT)
			counters.values_[i] = read_count_file(path);
	}
	return counters;
}

std::uint64_t KernelCounters::lost() const
{
	std::uint64_t sum = 0;
	for (const KernelCounter counter : kLossCounters)
		sum += (*this)[counter].value_or(0);
	return sum;
}

bool KernelCounters::tells_loss() const
{
	return std::ranges::all_of(kLossCounters, [this](KernelCounter counter) {
		return (*this)[counter].has_value();
	});
}

std::string KernelCounters::loss_text() const
{
	std::string text;
	for (std::size_t i = 0; i < kLossCounters.size(); i++) {
		const Value &value = (*this)[kLossCounters[i]];
		text += fmt::format("{}{} {}", text.empty() ? "" : ", ",
				    value ? fmt::format("{}", *value) : "?", kLossWords[i]);
	}
	return text;
}

LossMeter::LossMeter(std::string directory)
	: directory_(std::move(directory)), last_(KernelCounters::read(directory_))
{
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		const auto counter = static_cast<KernelCounter>(i);
		if (last_[counter])
			growth_[counter] = 0;
	}
}

/* After a reload the module counts from 0: its whole count is growth. */
std::uint64_t LossMeter::update()
{
	const std::uint64_t lost_before = growth_.lost();
	const KernelCounters now = KernelCounters::read(directory_);
	for (std::size_t i = 0; i < kModuleCounters.size(); i++) {
		const auto counter = static_cast<KernelCounter>(i);
		if (!now[counter] || !growth_[counter]) {
			growth_[counter].reset();
			continue;
		}
		const bool went_back = *now[counter] < *last_[counter];
		restarted_ = restarted_ || went_back;
		*growth_[counter] += *now[counter] - (went_back ? 0 : *last_[counter]);
	}
	last_ = now;
	const std::uint64_t lost = growth_.lost();
	return lost > lost_before ? lost - lost_before : 0;
}

} // namespace zemctl
