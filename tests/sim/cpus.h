/* SPDX-License-Identifier: GPL-2.0 */
/* The CPUs of the simulated machine, and the module's variables of which each CPU has one. */
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "problems.h"

namespace sim {

class Cpus {
public:
	static constexpr unsigned int kMost = 64;

	explicit Cpus(unsigned int possible);

	[[nodiscard]] unsigned int possible() const { return possible_; }

	[[nodiscard]] bool online(unsigned int cpu) const
	{
		return cpu < possible_ && online_[cpu].load(std::memory_order_relaxed);
	}

	/* @when_online runs for a CPU that comes online, as a hotplug notifier does. */
	void set_online(unsigned int cpu, bool online);
	void on_hotplug(std::function<void(unsigned int cpu)> when_online)
	{
		when_online_ = std::move(when_online);
	}

	/* The module's section of per-CPU variables: each CPU gets a copy as it is now. */
	void set_percpu_section(std::byte *start, std::byte *end);
	/* @variable: an address in that section. Return: @cpu's instance. */
	[[nodiscard]] void *instance(void *variable, unsigned int cpu);

private:
	const unsigned int possible_;
	std::array<std::atomic<bool>, kMost> online_{};
	std::function<void(unsigned int)> when_online_;
	std::byte *section_ = nullptr;
	size_t section_size_ = 0;
	std::vector<std::unique_ptr<std::byte[]>> copies_;
};

} /* namespace sim */
