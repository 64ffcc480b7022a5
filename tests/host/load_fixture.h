/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tests of the load, cpu and cgroup families: time in ns, tasks with load blocks, CPUs with
 * activity counters, and the resulting records and texts.
 */
#pragma once

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "host/providers.h"
#include "host/units.h"
#include "platform/contract.h"

namespace test {

/* Scales of the simulation's clusters: 25890e6 / 1800000 and 45411e6 / 2400000. */
inline constexpr u64 kSmallScale = 14383;
inline constexpr u64 kBigScale = 18921;
inline constexpr u64 kBigCapacity = 45411;

/* Words of a load block, in the platform and in records. */
enum Word : size_t {
	kRuntime,
	kAccumulator,
	kCombined,
	kSumExecRuntime,
	kCounterA,
	kCounterB = 8,
	kCounterC = 12,
};

/* A call of a setter by the module's functions. */
struct SetterCall {
	unsigned long long reserved;
	std::string data;
	unsigned int sub_type;
};

class LoadTest : public CollectorTest {
protected:
	using CollectorTest::CollectorTest;

	/* Only records of these families, and the kzerod record of a trigger. */
	void SetUp() override;

	void step(u64 ns) { kernel.clock.step_monotonic_ns(static_cast<int64_t>(ns)); }

	[[nodiscard]] sim::Task &make_task(int pid, const std::string &comm = "task");
	[[nodiscard]] sim::Task &make_thread(sim::Task &leader, int pid,
					     const std::string &comm = "thread");
	[[nodiscard]] static u64 &word(sim::Task &task, size_t index);
	/* Puts the task into the next report, whatever the window. Word 2 of its block is @load. */
	static void give_load(sim::Task &task, u64 load);

	/* Triggers a cycle @ns after the last one. Return: its cpu and load records. */
	[[nodiscard]] std::vector<Record> cycle(u64 ns);
	/* Triggers a cycle. Return: only the load records. */
	[[nodiscard]] std::vector<zem_load> loads(u64 ns = 1 * kMs);
	[[nodiscard]] std::vector<int> load_pids(u64 ns = 1 * kMs);
	/* Triggers a cycle. Return: only the cpu records. */
	[[nodiscard]] std::vector<zem_cpu> cpus(u64 ns = 1 * kMs);

	/* @path is relative to /proc. */
	[[nodiscard]] std::string read_proc(const std::string &path);
	ssize_t write_proc(const std::string &path, std::string_view text);
	void set_switch(const std::string &name, bool on);
	[[nodiscard]] std::string read_view() { return read_proc("load_metrics/load_metrics"); }

	/* Values of the module's variables. */
	[[nodiscard]] u64 wallclock() const;
	[[nodiscard]] u64 start_time() const;
	[[nodiscard]] u64 delta() const;
	/* Runs both uploads with a setter that notes its calls. */
	[[nodiscard]] std::vector<SetterCall> upload_cpus();
	[[nodiscard]] std::vector<SetterCall> upload_loads();

private:
	[[nodiscard]] std::vector<SetterCall> upload(void (*family)(Inside::Setter set));
};

/* For payloads that are one struct. */
template <typename Payload>
[[nodiscard]] Payload payload_of(const std::string &bytes)
{
	Payload payload{};
	EXPECT_EQ(bytes.size(), sizeof(payload));
	memcpy(&payload, bytes.data(), std::min(bytes.size(), sizeof(payload)));
	return payload;
}

/* Returns @value at @offset of @bytes, little-endian. */
template <typename Value>
void put(std::string &bytes, size_t offset, Value value)
{
	memcpy(bytes.data() + offset, &value, sizeof(value));
}

} /* namespace test */
