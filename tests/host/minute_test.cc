// SPDX-License-Identifier: GPL-2.0
/* A minute of collection at the initial intervals. */
#include <memory>

#include "host/io_fixture.h"
#include "host/providers.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr u64 kNsPerCycle = 5'000'000'000;
constexpr int kCycles = 12;

} /* namespace */

class Minute : public IoTest {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		store("sched_interval", "1");
		kmem = std::make_unique<KmemProvider>(module);
		display = std::make_unique<DisplayModule>(module);
		first = &kernel.platform.make_task({.pid = 100});
		second = &kernel.platform.make_task({.pid = 200});
		static_cast<void>(kernel.platform.stats(*first));
		static_cast<void>(kernel.platform.stats(*second));
		EXPECT_EQ(kernel.proc.write("load_metrics/load_metrics_report", "1"), 1);
		store("trace_on", "0");
		store("trace_on", "1");
		static_cast<void>(log());
	}

	/* Two important tasks and a process that use CPU time. */
	void be_busy()
	{
		kernel.hooks.sched_info_depart(first, kMs);
		kernel.hooks.sched_info_depart(second, kMs);
		kernel.load.ran(*first, 0, kMs);
	}

	/* Afterwards the records of the cycle are in the shared buffer. */
	void run_cycle()
	{
		const size_t before = KmemProvider::calls.size();
		while (KmemProvider::calls.size() == before)
			kernel.run_for(1);
		kernel.run_until_idle();
	}

	std::unique_ptr<KmemProvider> kmem;
	std::unique_ptr<DisplayModule> display;
	sim::Task *first = nullptr;
	sim::Task *second = nullptr;
};

TEST_F(Minute, has_twelve_cycles_each_with_what_every_family_promises_in_order)
{
	for (int cycle = 0; cycle < kCycles; cycle++) {
		be_busy();
		run_cycle();
		EXPECT_THAT(channels(),
			    ElementsAre(ZEM_CHANNEL_KMEM, ZEM_CHANNEL_KIO, ZEM_CHANNEL_SCHED,
					ZEM_CHANNEL_SVP, ZEM_CHANNEL_SVP, ZEM_CHANNEL_CPU,
					ZEM_CHANNEL_CPU, ZEM_CHANNEL_CPU, ZEM_CHANNEL_CPU,
					ZEM_CHANNEL_CPU, ZEM_CHANNEL_CPU, ZEM_CHANNEL_CPU,
					ZEM_CHANNEL_CPU, ZEM_CHANNEL_LOAD))
			<< "cycle " << cycle;
	}
	EXPECT_EQ(DisplayModule::intervals, std::vector<int>(kCycles / 2, 10));
	for (int cycle = 1; cycle < kCycles; cycle++)
		EXPECT_EQ(KmemProvider::calls[cycle] - KmemProvider::calls[cycle - 1], kCycle)
			<< "cycle " << cycle;
	EXPECT_THAT(log(), IsEmpty());
}

TEST_F(Minute, has_times_that_never_go_back_and_cycles_5_s_apart)
{
	u64 last = 0;
	u64 last_cycle = 0;
	for (int cycle = 0; cycle < kCycles; cycle++) {
		be_busy();
		run_cycle();
		const std::vector<Record> made = records();
		hand_back();
		ASSERT_FALSE(made.empty());
		for (const Record &record : made) {
			EXPECT_GE(record.header.timestamp, last);
			EXPECT_EQ(record.header.train_number, 1U);
			last = record.header.timestamp;
		}
		if (last_cycle) {
			EXPECT_EQ(made.front().header.timestamp - last_cycle, kNsPerCycle);
		}
		last_cycle = made.front().header.timestamp;
	}
}

/* A family without data sends nothing; those about the machine always have data. */
TEST_F(Minute, of_nothing_has_the_records_of_the_machine)
{
	for (int cycle = 0; cycle < kCycles; cycle++) {
		std::vector<int> expected{ZEM_CHANNEL_KMEM, ZEM_CHANNEL_KIO, ZEM_CHANNEL_SCHED};
		expected.insert(expected.end(), 8, ZEM_CHANNEL_CPU);
		run_cycle();
		EXPECT_EQ(channels(), expected) << "cycle " << cycle;
	}
}

} /* namespace test */
