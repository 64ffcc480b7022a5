/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tests of the health sums and of the cgroup family: a machine with the system's groups, tasks in
 * them, and the two events that the scheduler reports.
 */
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/load_fixture.h"

namespace test {

/* In the order of the module's sums. */
enum class Row : size_t {
	kTotal,
	kRoot,
	kForeground,
	kTopApp,
	kBackground,
	kSystemBackground,
	kSvp
};

struct Triple {
	u64 lat;
	u64 d_io;
	u64 d_nonio;

	bool operator==(const Triple &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Triple &triple);

using Sums = std::array<Triple, 7>;

/* Ids of the initial groups of a HealthTest. */
inline constexpr int kForegroundId = 2;
inline constexpr int kBackgroundId = 3;
inline constexpr int kTopAppId = 4;
inline constexpr int kSystemBackgroundId = 5;

class HealthTest : public CollectorTest {
protected:
	explicit HealthTest(const sim::Options &options = {});

	/* Creates a task in a group, not SVP by default. */
	[[nodiscard]] sim::Task &task_in(int css_id, int svp = 0);

	void wait(task_struct *task, u64 ns) { kernel.hooks.sched_stat_wait(task, ns); }
	/* Reports a block of a task with or without the IO-wait mark. */
	void block_for_io(sim::Task &task, u64 ns);
	void block(sim::Task &task, u64 ns);

	/* Sums of all CPUs, added up by the module. */
	[[nodiscard]] Sums sums() const;
	[[nodiscard]] Triple sum(Row row) const { return sums()[static_cast<size_t>(row)]; }

	[[nodiscard]] std::array<u32, 5> &group_ids() const;
	/* Messages of a discovery of the initial groups. */
	[[nodiscard]] static LogLines found_groups();

	[[nodiscard]] std::string read_proc(const std::string &path);
	ssize_t write_proc(const std::string &path, std::string_view text);
	ssize_t write_enable(std::string_view text)
	{
		return write_proc("morva_sched_healthinfo/sched_healthinfo_enable", text);
	}
	[[nodiscard]] std::string enabled()
	{
		return read_proc("morva_sched_healthinfo/sched_healthinfo_enable");
	}
	[[nodiscard]] std::string report()
	{
		return read_proc("morva_sched_healthinfo/sched_healthinfo");
	}
};

/* Without initial groups: the test creates them. */
class GrouplessTest : public HealthTest {
protected:
	GrouplessTest();
};

} /* namespace test */
