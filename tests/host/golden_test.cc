// SPDX-License-Identifier: GPL-2.0
/* The texts and the records of the scenarios that the tests on a real kernel and zemctl's share. */
#include "host/golden.h"
#include "host/health_fixture.h"
#include "host/sched_views.h"

namespace test {

namespace {

[[nodiscard]] std::string payload_on(int channel, const std::vector<Record> &records)
{
	for (const Record &record : records)
		if (record.header.channel == channel)
			return record.payload;
	return "none";
}

} /* namespace */

class GoldenSched : public SchedTest {
protected:
	void SetUp() override
	{
		SchedTest::SetUp();
		store("sched_interval", "1");
		store("svp_interval", "1");
		sim::Task &task = kernel.platform.make_task({.pid = 100, .comm = "sleeper-0"});
		sim::Platform::set_package(task, "com.example.app");
		kernel.hooks.rs_warn_set_svp_task(&task);
		golden.tasks["svp"] = &task;
		golden.on_open = [this] {
			for (const SchedView &view : interval_views())
				EXPECT_EQ(read_proc(std::string("sched_metrics/") + view.name), "");
		};
		golden.play();
	}

	Golden golden{kernel, "sched"};
};

TEST_F(GoldenSched, views)
{
	for (const SchedView &view : kSchedViews)
		EXPECT_EQ(read_proc(std::string("sched_metrics/") + view.name),
			  golden.text(view.name));
	EXPECT_EQ(read_proc("svp_metrics/svp_metrics"), golden.text("svp_metrics"));
}

TEST_F(GoldenSched, records)
{
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	const std::vector<Record> uploaded = records();
	EXPECT_EQ(payload_on(ZEM_CHANNEL_SCHED, uploaded), golden.payload("sched_record"));
	EXPECT_EQ(payload_on(ZEM_CHANNEL_SVP, uploaded), golden.payload("svp_record"));
}

class GoldenHealth : public HealthTest {
protected:
	void SetUp() override
	{
		HealthTest::SetUp();
		store("cgroup_interval", "1");
		golden.tasks = {{"root", &task_in(1)},
				{"fg", &task_in(kForegroundId)},
				{"top", &task_in(kTopAppId, 1)},
				{"bg", &task_in(kBackgroundId)},
				{"sysbg", &task_in(kSystemBackgroundId)}};
		golden.play();
	}

	Golden golden{kernel, "health"};
};

TEST_F(GoldenHealth, views)
{
	EXPECT_EQ(report(), golden.text("sched_healthinfo"));
	EXPECT_EQ(read_proc("cgroup_metrics/cgroup_metrics"), golden.text("cgroup_metrics"));
}

TEST_F(GoldenHealth, record)
{
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	EXPECT_EQ(payload_on(ZEM_CHANNEL_CGROUP, records()), golden.payload("cgroup_record"));
}

class GoldenIo : public IoTest {
protected:
	void SetUp() override
	{
		IoTest::SetUp();
		find_devices();
		golden.on_bio = [this](const BioOptions &options) {
			complete(options);
		};
		golden.play();
	}

	Golden golden{kernel, "kio"};
};

TEST_F(GoldenIo, view)
{
	EXPECT_EQ(view("show3_bio_time"), golden.text("show3_bio_time"));
}

TEST_F(GoldenIo, record)
{
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	EXPECT_EQ(payload_on(ZEM_CHANNEL_KIO, records()), golden.payload("kio_record"));
}

} /* namespace test */
