/* SPDX-License-Identifier: GPL-2.0 */
/* The CPUs of the simulated machine, and the per-CPU variables. */
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <vector>

#include "options.h"
#include "problems.h"

namespace sim {

class Cpus {
public:
	static constexpr unsigned int kMost = 64;

	explicit Cpus(const Options &options);

	/* The highest id plus one. */
	[[nodiscard]] unsigned int ids() const { return ids_; }

	[[nodiscard]] bool possible(unsigned int cpu) const
	{
		return cpu < ids_ && !absent_.contains(cpu);
	}

	[[nodiscard]] bool online(unsigned int cpu) const
	{
		return cpu < ids_ && online_[cpu].load(std::memory_order_relaxed);
	}

	/* @when_online runs when a CPU comes online, like a hotplug notifier. */
	void set_online(unsigned int cpu, bool online);
	void on_hotplug(std::function<void(unsigned int cpu)> when_online)
	{
		when_online_ = std::move(when_online);
	}

	/*
	 * The module's variables. Each CPU gets a copy of all of them with their present values;
	 * only the per-CPU variables are used.
	 */
	void set_module_data(std::span<const std::byte> data);
	/* @variable: a variable of the module, or cpu_irqtime. Return: @cpu's instance. */
	[[nodiscard]] void *instance(void *variable, unsigned int cpu);

	/* Sets the package of a CPU. The default is 0 for the first four CPUs and 1 for the others.
	 */
	void set_package(unsigned int cpu, unsigned int package) { packages_.at(cpu) = package; }
	[[nodiscard]] unsigned int package(unsigned int cpu) const { return packages_.at(cpu); }

	/* Sets @cpu's cpu_irqtime. */
	void set_irqtime(unsigned int cpu, uint64_t ns);
	[[nodiscard]] uint64_t irqtime(unsigned int cpu) const;

private:
	const unsigned int ids_;
	const std::set<unsigned int> absent_;
	std::array<std::atomic<bool>, kMost> online_{};
	std::array<unsigned long long, kMost> irqtime_{};
	std::array<unsigned int, kMost> packages_{};
	std::function<void(unsigned int)> when_online_;
	std::span<const std::byte> module_data_;
	std::vector<std::unique_ptr<std::byte[]>> copies_;
};

} /* namespace sim */
