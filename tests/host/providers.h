/* SPDX-License-Identifier: GPL-2.0 */
/*
 * A memory-indicator module and a display module, which set zem's pointers to their functions and
 * note the calls. At most one of each at a time.
 */
#pragma once

#include <algorithm>
#include <vector>

#include "host/fixture.h"

namespace test {

class KmemProvider {
public:
	explicit KmemProvider(sim::Module &module)
	{
		block.assign(sizeof(zem_kmem), 'k');
		calls.clear();
		gives_block = true;
		before_return = nullptr;
		using Entry = void *(*)();
		*module.symbol<Entry>("get_all_kmemind_func") = [] {
			calls.push_back(sim::Kernel::get().clock.ticks());
			if (before_return)
				before_return();
			return gives_block ? static_cast<void *>(block.data()) : nullptr;
		};
	}

	static inline std::string block;
	static inline std::vector<sim::Ticks> calls;
	static inline bool gives_block;
	static inline std::function<void()> before_return;
};

class DisplayModule {
public:
	explicit DisplayModule(sim::Module &module)
	{
		intervals.clear();
		using Entry = void (*)(int);
		*module.symbol<Entry>("display_error_zem_update") = [](int interval) {
			intervals.push_back(interval);
		};
	}

	static inline std::vector<int> intervals;
};

/* A fixture with a running collector. Each cycle calls the provider, which notes the time. */
template <class Fixture>
class WithCollector : public Fixture {
protected:
	using Fixture::Fixture;

	void start_collector()
	{
		EXPECT_EQ(this->store("trace_on", "0"), 1);
		EXPECT_EQ(this->store("trace_on", "1"), 1);
		EXPECT_EQ(this->log(), LogLines({sim::info("trace_on disable\n"),
						 sim::info("trace_on enable\n")}));
	}

	/* Waits for @cycles more cycles of the thread, each of which wakes up a jiffy late. */
	void run_cycles(unsigned int cycles)
	{
		const size_t target = KmemProvider::calls.size() + cycles;
		while (KmemProvider::calls.size() < target)
			this->kernel.run_for(1);
	}

	/* Causes activity for the families under test. */
	virtual void be_busy() {}

	void run_trigger() { EXPECT_EQ(this->store("trigger", "1"), 1); }

	/* Return: the numbers, from 1 on, of the collector's cycles with a record of @channel. */
	[[nodiscard]] std::vector<int> collector_cycles_with(int channel, int cycles)
	{
		return cycles_with(channel, cycles, [this] { run_cycles(1); });
	}

	/* As above, of triggers. */
	[[nodiscard]] std::vector<int> triggers_with(int channel, int triggers)
	{
		return cycles_with(channel, triggers, [this] { run_trigger(); });
	}

private:
	template <typename Cycle>
	[[nodiscard]] std::vector<int> cycles_with(int channel, int cycles, Cycle cycle)
	{
		std::vector<int> found;
		for (int number = 1; number <= cycles; number++) {
			be_busy();
			cycle();
			const std::vector<int> seen = this->channels();
			if (std::ranges::find(seen, channel) != seen.end())
				found.push_back(number);
		}
		return found;
	}
};

using CollectorTest = WithCollector<ZemTest>;

} /* namespace test */
