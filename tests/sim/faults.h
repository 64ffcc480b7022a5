/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Makes a kernel call fail, or runs test code inside it, by the call's kernel name and a count of
 * calls from now on. Any thread. Costs one relaxed load while no rule exists, so it does not order
 * threads.
 */
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <string>

namespace sim {

class Faults {
public:
	/* Makes the @nth call fail once. */
	void fail(const std::string &call, unsigned int nth = 1);
	/* Makes the @nth call and all later ones fail. */
	void fail_from(const std::string &call, unsigned int nth = 1);
	/* Runs @action once, in the @nth call, in the caller's context. */
	void at(const std::string &call, std::function<void()> action, unsigned int nth = 1);
	void clear();

	/* Return: whether every rule has applied (fail_from: at least once). */
	[[nodiscard]] bool all_happened();

	/* Called by the simulation at the start of @call. Return: whether the call must fail. */
	bool strikes(const char *call)
	{
		return armed_.load(std::memory_order_relaxed) && count_call(call);
	}

private:
	struct Rule {
		std::string call;
		unsigned int calls_left;
		bool repeats;
		bool happened;
		std::function<void()> action; /* empty: the call fails */
	};

	void arm(Rule rule);
	bool count_call(const char *call);

	std::atomic<bool> armed_{false};
	std::mutex lock_;
	std::list<Rule> rules_;
};

} /* namespace sim */
