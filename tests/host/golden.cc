// SPDX-License-Identifier: GPL-2.0
/* Plays the steps of a scenario: each is a write to one of the platform's files. */
#include "host/golden.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "kernel/api/percpu.h"

namespace test {

namespace {

using TaskHook = void (sim::Hooks::*)(task_struct *, unsigned long long);

const std::map<std::string, TaskHook, std::less<>> kTaskHooks = {
	{"vh_sched_info_depart", &sim::Hooks::sched_info_depart},
	{"vh_task_d_state_dura_record", &sim::Hooks::task_d_state_dura_record},
	{"sched_stat_wait", &sim::Hooks::sched_stat_wait},
	{"sched_stat_blocked", &sim::Hooks::sched_stat_blocked},
};

[[nodiscard]] u64 number(const std::string &word)
{
	return std::stoull(word, nullptr, 0);
}

[[nodiscard]] size_t device_of(const std::string &path)
{
	const auto *found = std::ranges::find(kPaths, path);
	if (found == std::end(kPaths))
		throw std::runtime_error("no tracked device: " + path);
	return static_cast<size_t>(found - kPaths);
}

/* DEVICE OPERATION PAGES NS FLAGS SUBMITTER */
[[nodiscard]] BioOptions bio_of(const std::vector<std::string> &words)
{
	return {.device = device_of(words.at(0)),
		.operation = static_cast<u32>(number(words.at(1))),
		.latency = number(words.at(3)),
		.pages = static_cast<u32>(number(words.at(2))),
		.in_foreground = number(words.at(4)) == kForegroundMark,
		.submitter = std::stoi(words.at(5))};
}

} /* namespace */

void Golden::play()
{
	std::istringstream steps(text("steps"));
	for (std::string line; std::getline(steps, line);) {
		std::istringstream words(line);
		const Words all{std::istream_iterator<std::string>(words), {}};
		if (!all.empty() && !all[0].starts_with('#'))
			step(all);
	}
}

void Golden::step(const Words &words)
{
	const std::string &file = words[0];
	if (file == "open")
		on_open();
	else if (file == "raise")
		raise({words.begin() + 1, words.end()});
	else if (file == "irqtime")
		*static_cast<u64 *>(helper_per_cpu_ptr(
			&cpu_irqtime, static_cast<unsigned int>(number(words.at(1))))) =
			number(words.at(2));
	else if (file == "iowait")
		task(words.at(1)).fields.in_iowait = words.at(2) == "on";
	else if (file == "svp")
		task(words.at(1)).fields.svp = words.at(2) == "on";
	else
		throw std::runtime_error("no step: " + file);
}

void Golden::raise(Words words)
{
	if (words.at(0).starts_with("cpu=")) {
		kernel_.move_to_cpu(static_cast<unsigned int>(number(words[0].substr(4))));
		words.erase(words.begin());
	}
	const std::string hook = words.at(0);
	words.erase(words.begin());
	if (const auto found = kTaskHooks.find(hook); found != kTaskHooks.end())
		(kernel_.hooks.*found->second)(&task(words.at(0)), number(words.at(1)));
	else if (hook == "rvh_sched_info_arrive")
		kernel_.hooks.sched_info_arrive(&task(words.at(0)), number(words.at(1)));
	else if (hook == "rvh_irqtime_account_hardirq")
		kernel_.hooks.irqtime_account_hardirq(number(words.at(0)));
	else if (hook == "vh_blk_bio_endio")
		on_bio(bio_of(words));
	else
		throw std::runtime_error("no hook: " + hook);
}

sim::Task &Golden::task(std::string_view word) const
{
	const auto found = tasks.find(word.substr(1));
	if (found == tasks.end())
		throw std::runtime_error("no task: " + std::string(word));
	return *found->second;
}

std::string Golden::text(const std::string &file) const
{
	const std::string path = ZEM_GOLDEN "/" + scenario_ + "/" + file;
	std::ifstream in(path, std::ios::binary);
	if (!in)
		throw std::runtime_error("no " + path);
	return {std::istreambuf_iterator<char>(in), {}};
}

std::string Golden::payload(const std::string &file) const
{
	std::string digits = text(file);
	std::erase(digits, '\n');
	std::string bytes;
	for (size_t i = 0; i < digits.size(); i += 2)
		bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
	return bytes;
}

} /* namespace test */
