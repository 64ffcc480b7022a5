// SPDX-License-Identifier: GPL-2.0
/* The bound on known UIDs: refused UIDs, and the reuse of free entries. */
#include <atomic>
#include <cerrno>

#include "host/io_fixture.h"

namespace test {

namespace {

constexpr u32 kMostUids = 16384;
constexpr u32 kFirstUid = 20000;

} /* namespace */

template <class Fixture>
class WithManyUids : public Fixture {
protected:
	using Fixture::Fixture;

	ssize_t set(u32 uid, int state = 0)
	{
		return this->kernel.proc.write("zem_procstat/set",
					       std::to_string(uid) + " " + std::to_string(state));
	}

	ssize_t forget(u32 first, u32 last)
	{
		return this->kernel.proc.write("zem_procstat/remove_uid_range",
					       std::to_string(first) + "-" + std::to_string(last));
	}

	/* Returns the number of UIDs, of @count from @first on, that get an entry. */
	u32 meet(u32 first, u32 count)
	{
		u32 taken = 0;
		for (u32 uid = first; uid < first + count; uid++)
			taken += set(uid) > 0;
		return taken;
	}

	[[nodiscard]] size_t entries() { return this->kernel.slab.allocations() - allocations; }

	size_t allocations = 0;
};

class UidBound : public WithManyUids<IoTest> {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		allocations = kernel.slab.allocations();
	}

	[[nodiscard]] std::string refused()
	{
		return kernel.sysfs.read("module/zem/counters/uids_refused").data;
	}
};

TEST_F(UidBound, further_uid_is_refused_as_without_memory)
{
	EXPECT_EQ(meet(kFirstUid, kMostUids), kMostUids);
	EXPECT_EQ(set(10050), -EINVAL);
	EXPECT_EQ(set(10050, 1), -EINVAL);
	EXPECT_EQ(entries(), kMostUids);
	EXPECT_EQ(module.symbol<unsigned int()>("get_current_fg_uid")(), kFirstUid + kMostUids - 1)
		<< "the foreground is noted before: 10050 came, and left";
	EXPECT_EQ(refused(), "2\n");
}

TEST_F(UidBound, bios_and_transfers_of_a_further_uid_are_not_kept)
{
	EXPECT_EQ(meet(kFirstUid, kMostUids), kMostUids);
	EXPECT_FALSE(submit(10050));
	EXPECT_FALSE(submit(10050)) << "it is not known still";
	kernel.hooks.task_rchar(nullptr, nullptr, 100);
	kernel.hooks.task_wchar(nullptr, nullptr, 100);
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_EQ(entries(), kMostUids);
	EXPECT_EQ(refused(), "2\n") << "one for each bio";
}

TEST_F(UidBound, known_uid_is_not_affected)
{
	EXPECT_EQ(meet(kFirstUid, kMostUids), kMostUids);
	EXPECT_EQ(set(kFirstUid, 1), 7);
	EXPECT_EQ(state_of(kFirstUid), 1U);
	EXPECT_TRUE(submit(kFirstUid + kMostUids - 1));
	EXPECT_EQ(refused(), "0\n");
}

TEST_F(UidBound, forgotten_uids_leave_their_places)
{
	EXPECT_EQ(meet(kFirstUid, kMostUids), kMostUids);
	EXPECT_GT(forget(kFirstUid + 100, kFirstUid + 102), 0);
	EXPECT_FALSE(submit(10050));
	EXPECT_TRUE(submit(10050)) << "it is known";
	EXPECT_EQ(meet(10051, 3), 2U);
	EXPECT_GT(forget(0, ~0u), 0);
	EXPECT_EQ(entries(), 0U);
	EXPECT_EQ(meet(kFirstUid, kMostUids + 1), kMostUids);
	EXPECT_EQ(refused(), "2\n");
}

TEST_F(UidBound, memory_that_is_not_there_and_a_uid_met_twice_take_no_place)
{
	kernel.faults.fail("kzalloc_atomic");
	EXPECT_EQ(set(10050), -EINVAL);
	kernel.faults.at("kzalloc_atomic", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { EXPECT_GT(set(10050), 0); });
	});
	EXPECT_GT(set(10050), 0);
	EXPECT_EQ(meet(kFirstUid, kMostUids), kMostUids - 1);
	EXPECT_EQ(refused(), "1\n");
}

TEST_F(UidBound, first_of_two_gets_the_last_entry)
{
	EXPECT_EQ(meet(kFirstUid, kMostUids - 1), kMostUids - 1);
	kernel.faults.at("kzalloc_atomic", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { EXPECT_GT(set(10060), 0); });
	});
	EXPECT_EQ(set(10050), -EINVAL);
	EXPECT_EQ(entries(), kMostUids);
	EXPECT_EQ(refused(), "1\n");
}

/* Also meant for ThreadSanitizer. */
class UidBoundStorm : public WithManyUids<UnloadedTest> {
protected:
	static constexpr unsigned int kCpus = 4;

	UidBoundStorm() : WithManyUids({.mode = sim::Mode::kFreeRunning, .cpus = kCpus})
	{
		io_indicators = true;
		load();
	}

	/* Runs @body on all CPUs concurrently. */
	template <typename Body>
	void on_each_cpu(Body body)
	{
		std::vector<sim::Thread> threads;
		for (unsigned int cpu = 0; cpu < kCpus; cpu++)
			threads.push_back(kernel.spawn("user", [=] { body(cpu); }, cpu));
	}
};

TEST_F(UidBoundStorm, places_are_neither_lost_nor_taken_twice)
{
	constexpr u32 kEach = kMostUids / kCpus;
	allocations = kernel.slab.allocations();
	std::atomic<u32> taken{0};
	/* One in eight exceeds the bound. A forgotten UID that is seen again does not. */
	on_each_cpu([&](unsigned int cpu) {
		const u32 first = kFirstUid + cpu * 2 * kEach;
		taken += meet(first, kEach + kEach / 8);
	});
	EXPECT_EQ(taken, kMostUids);
	EXPECT_EQ(entries(), kMostUids);

	EXPECT_GT(forget(0, ~0u), 0);
	EXPECT_EQ(entries(), 0U);
	on_each_cpu([&](unsigned int cpu) {
		const u32 first = kFirstUid + cpu * 2 * kEach;
		for (u32 round = 0; round < 8; round++) {
			EXPECT_EQ(meet(first, 128), 128U);
			EXPECT_GT(forget(first, first + 127), 0);
		}
	});
	EXPECT_EQ(entries(), 0U);
	EXPECT_EQ(meet(kFirstUid, kMostUids + 1), kMostUids);
	unload();
}

} /* namespace test */
