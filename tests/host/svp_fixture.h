/* SPDX-License-Identifier: GPL-2.0 */
/* Tasks that enrol, and the two ways to collect them: a trigger and the proc file. */
#pragma once

#include <cstring>

#include "host/fixture.h"

namespace test {

class SvpTest : public ZemTest {
protected:
	using ZemTest::ZemTest;

	/* Only svp records. */
	void SetUp() override
	{
		ZemTest::SetUp();
		store("sched_interval", "0");
	}

	void depart(sim::Task &task) { kernel.hooks.sched_info_depart(&task, 1); }

	[[nodiscard]] bool enrols(sim::Task &task)
	{
		const int before = sim::Platform::references(task);
		depart(task);
		EXPECT_EQ(sim::Platform::references(task) - before, task.listed());
		return task.listed();
	}

	/* Creates a listed task with counters, all of them 0. */
	[[nodiscard]] sim::Task &enrolled(const sim::TaskOptions &options = {})
	{
		sim::Task &task = kernel.platform.make_task(options);
		EXPECT_TRUE(enrols(task));
		static_cast<void>(kernel.platform.stats(task));
		return task;
	}

	/* Triggers a cycle. Return: its svp records, which must fit the buffer. */
	std::vector<zem_svp> collect()
	{
		hand_back();
		EXPECT_EQ(store("trigger", "1"), 1);
		kernel.run_until_idle();
		std::vector<zem_svp> collected;
		for (const Record &record : records()) {
			if (record.header.channel != ZEM_CHANNEL_SVP)
				continue;
			EXPECT_EQ(record.header.sub_type, 0);
			EXPECT_EQ(record.payload.size(), sizeof(zem_svp));
			memcpy(&collected.emplace_back(), record.payload.data(), sizeof(zem_svp));
		}
		return collected;
	}

	[[nodiscard]] std::vector<int> collect_pids()
	{
		std::vector<int> pids;
		for (const zem_svp &svp : collect())
			pids.push_back(svp.pid);
		return pids;
	}

	[[nodiscard]] std::string read_proc(const std::string &name = "svp_metrics")
	{
		const sim::ReadResult read = kernel.proc.read("svp_metrics/" + name);
		return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
	}

	/* Returns the pids in a text, in order. */
	[[nodiscard]] static std::vector<int> pids_in(const std::string &text)
	{
		std::vector<int> pids;
		for (size_t at = 0; (at = text.find("\npid: ", at)) != std::string::npos; at++)
			pids.push_back(std::stoi(text.substr(at + 6)));
		return pids;
	}

	ssize_t switch_to(std::string_view text)
	{
		return kernel.proc.write("svp_metrics/svp_metrics_enabled", text);
	}
};

} /* namespace test */
