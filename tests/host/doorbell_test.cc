// SPDX-License-Identifier: GPL-2.0
/* The doorbell between threads that run concurrently: each ring is answered, and none twice. */
#include "kernel/doorbell.h"

#include <atomic>
#include <chrono>

#include "host/fixture.h"

namespace test {

class DoorbellRace : public UnloadedTest {
protected:
	DoorbellRace() : UnloadedTest({.mode = sim::Mode::kFreeRunning}) { door.init(); }

	/* Answers rings until one comes after finish() was called. */
	sim::Thread answerer()
	{
		return kernel.spawn("answerer", [this] {
			while (!finishes) {
				door.wait();
				answered++;
			}
		});
	}

	/* Wakes the thread for the last time. */
	void finish(sim::Thread &thread)
	{
		finishes = true;
		door.ring();
		thread.join();
	}

	/* Return: false if the thread sleeps with a ring unanswered, which a further ring ends. */
	bool is_answered(unsigned int rings)
	{
		const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
		while (answered < rings)
			if (std::chrono::steady_clock::now() > end)
				return false;
		return true;
	}

	zem::Doorbell door;
	std::atomic<unsigned int> answered{0};
	std::atomic<bool> finishes{false};
};

/*
 * The first ring of each round wakes the thread. The second one comes a little later from round to
 * round, and so in many of them just when the thread falls asleep again.
 */
TEST_F(DoorbellRace, no_ring_is_missed_by_a_thread_that_falls_asleep)
{
	constexpr unsigned int kRounds = 100'000;
	sim::Thread thread = answerer();
	bool missed = false;
	for (unsigned int round = 0; round < kRounds; round++) {
		door.ring();
		for (volatile unsigned int delay = round % 4096; delay; delay = delay - 1) {
		}
		door.ring();
		/* After the first one that is missed, the test only has to end. */
		missed = missed || !is_answered(2 * round + 2);
	}
	EXPECT_FALSE(missed);
	finish(thread);
	EXPECT_EQ(answered, 2 * kRounds + 1);
}

/* Of the CPUs 0, 1, 8 and 9, two each share a counter. */
TEST_F(DoorbellRace, each_ring_of_several_cpus_is_answered_once)
{
	constexpr unsigned int kProducers = 4;
	constexpr unsigned int kRings = 5'000;
	sim::Thread thread = answerer();
	{
		std::vector<sim::Thread> producers;
		for (unsigned int i = 0; i < kProducers; i++)
			producers.push_back(kernel.spawn(
				"producer",
				[this] {
					for (unsigned int ring = 0; ring < kRings; ring++)
						door.ring();
				},
				i / 2 * 8 + i % 2));
	}
	EXPECT_TRUE(is_answered(kProducers * kRings));
	finish(thread);
	EXPECT_EQ(answered, kProducers * kRings + 1);
}

} /* namespace test */
