// SPDX-License-Identifier: GPL-2.0
/* Groups, tasks in them, and access to the module's sums. */
#include "host/health_fixture.h"

namespace test {

std::ostream &operator<<(std::ostream &out, const Triple &triple)
{
	return out << "{lat " << triple.lat << ", d_io " << triple.d_io << ", d_nonio "
		   << triple.d_nonio << '}';
}

HealthTest::HealthTest(const sim::Options &options) : CollectorTest(options)
{
	kernel.cgroups.set(kForegroundId, "foreground");
	kernel.cgroups.set(kBackgroundId, "background");
	kernel.cgroups.set(kTopAppId, "top-app");
	kernel.cgroups.set(kSystemBackgroundId, "system-background");
	discovery = found_groups();
}

GrouplessTest::GrouplessTest()
{
	for (int id = kForegroundId; id <= kSystemBackgroundId; id++)
		kernel.cgroups.remove(id);
	discovery = {sim::info("root 1\n")};
}

LogLines HealthTest::found_groups()
{
	return {sim::info("root 1\n"), sim::info("foreground 2\n"), sim::info("background 3\n"),
		sim::info("top 3\n"), sim::info("sysbg 5\n")};
}

sim::Task &HealthTest::task_in(int css_id, int svp)
{
	sim::Task &task = kernel.platform.make_task({.svp = svp, .orig_svp = 0});
	task.fields.cpu_css_id = css_id;
	return task;
}

void HealthTest::block_for_io(sim::Task &task, u64 ns)
{
	task.fields.in_iowait = true;
	kernel.hooks.sched_stat_blocked(&task, ns);
}

void HealthTest::block(sim::Task &task, u64 ns)
{
	task.fields.in_iowait = false;
	kernel.hooks.sched_stat_blocked(&task, ns);
}

Sums HealthTest::sums() const
{
	Sums found{};
	EXPECT_EQ(inside().add_health_sums(&found[0].lat), 1);
	return found;
}

std::array<u32, 5> &HealthTest::group_ids() const
{
	return *reinterpret_cast<std::array<u32, 5> *>(inside().group_ids());
}

std::string HealthTest::read_proc(const std::string &path)
{
	const sim::ReadResult read = kernel.proc.read(path);
	return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
}

ssize_t HealthTest::write_proc(const std::string &path, std::string_view text)
{
	return kernel.proc.write(path, text);
}

} /* namespace test */
