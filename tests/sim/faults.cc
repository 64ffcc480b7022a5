// SPDX-License-Identifier: GPL-2.0
/* The rules of failure injection. A rule counts calls down and is removed after it has applied. */
#include "faults.h"

#include <utility>
#include <vector>

namespace sim {

void Faults::arm(Rule rule)
{
	std::lock_guard guard(lock_);
	rules_.push_back(std::move(rule));
	armed_.store(true, std::memory_order_relaxed);
}

void Faults::fail(const std::string &call, unsigned int nth)
{
	arm({call, nth, false, false, {}});
}

void Faults::fail_from(const std::string &call, unsigned int nth)
{
	arm({call, nth, true, false, {}});
}

void Faults::at(const std::string &call, std::function<void()> action, unsigned int nth)
{
	arm({call, nth, false, false, std::move(action)});
}

void Faults::clear()
{
	std::lock_guard guard(lock_);
	rules_.clear();
	armed_.store(false, std::memory_order_relaxed);
}

bool Faults::all_happened()
{
	std::lock_guard guard(lock_);
	for (const Rule &rule : rules_)
		if (!rule.happened)
			return false;
	return true;
}

bool Faults::count_call(const char *call)
{
	bool fails = false;
	std::vector<std::function<void()>> actions;
	{
		std::lock_guard guard(lock_);
		for (auto rule = rules_.begin(); rule != rules_.end();) {
			if (rule->call != call || (rule->calls_left > 1 && rule->calls_left--)) {
				++rule;
				continue;
			}
			rule->happened = true;
			if (rule->action)
				actions.push_back(std::move(rule->action));
			else
				fails = true;
			rule = rule->repeats ? std::next(rule) : rules_.erase(rule);
		}
	}
	/* Not under the lock: an action may make calls with rules of their own. */
	for (auto &action : actions)
		action();
	return fails;
}

} /* namespace sim */
