/* SPDX-License-Identifier: GPL-2.0 */
/* The scenarios of tests/golden, which has a description, on the simulated kernel. */
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/io_fixture.h"

namespace test {

class Golden {
public:
	Golden(sim::Kernel &kernel, std::string scenario)
		: kernel_(kernel), scenario_(std::move(scenario))
	{
	}

	/* The names of tasks in the steps, without the @. */
	std::map<std::string, sim::Task *, std::less<>> tasks;
	/* Called for the step "open", and for each bio that ends. */
	std::function<void()> on_open;
	std::function<void(const BioOptions &)> on_bio;

	void play();
	[[nodiscard]] std::string text(const std::string &file) const;
	/* The bytes that @file has as hex digits. */
	[[nodiscard]] std::string payload(const std::string &file) const;

private:
	using Words = std::vector<std::string>;

	void step(const Words &words);
	void raise(Words words);
	[[nodiscard]] sim::Task &task(std::string_view word) const;

	sim::Kernel &kernel_;
	std::string scenario_;
};

} /* namespace test */
