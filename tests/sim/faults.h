/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Makes a call of the kernel's fail, or runs test code inside it, by the call's kernel name and
 * count. Calls are counted from the arming on. Any thread; costs one relaxed load while nothing
 * is armed, so that it orders no threads.
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
	/* The @nth call from now on fails, once. */
	void fail(const std::string &call, unsigned int nth = 1);
	/* The @nth call from now on fails, and all after it. */
	void fail_from(const std::string &call, unsigned int nth = 1);
	/* Runs @action once, in the @nth call from now on, in the caller's context. */
	void at(const std::string &call, std::function<void()> action, unsigned int nth = 1);
	void clear();

	/* Whether everything that was armed has happened (fail_from: at least once). */
	[[nodiscard]] bool all_happened();

	/* For the simulation, at the start of @call. Return: whether it is to fail. */
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
