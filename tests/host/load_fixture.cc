// SPDX-License-Identifier: GPL-2.0
/* Gives tasks load, and collects the records of the load families. */
#include "host/load_fixture.h"

namespace test {

namespace {

std::vector<SetterCall> calls;

void note_call(unsigned long long reserved, const void *data, int len, unsigned int sub_type)
{
	calls.push_back(
		{reserved, {static_cast<const char *>(data), static_cast<size_t>(len)}, sub_type});
}

} /* namespace */

void LoadTest::SetUp()
{
	CollectorTest::SetUp();
	store("sched_interval", "0");
	store("svp_interval", "0");
	set_switch("load_metrics_report", true);
}

sim::Task &LoadTest::make_task(int pid, const std::string &comm)
{
	return kernel.platform.make_task({.pid = pid, .comm = comm});
}

sim::Task &LoadTest::make_thread(sim::Task &leader, int pid, const std::string &comm)
{
	return kernel.platform.make_task(
		{.pid = pid, .tgid = leader.fields.pid, .comm = comm, .leader = &leader});
}

u64 &LoadTest::word(sim::Task &task, size_t index)
{
	return sim::Platform::load_block(task)[index];
}

/* On the small cluster: 1000 ns add one unit of load at its scale. */
void LoadTest::give_load(sim::Task &task, u64 load)
{
	task.record.counter_a[0] += load * 1000;
	task.record.counter_d[0] += kSmallScale * 1000;
}

std::vector<Record> LoadTest::cycle(u64 ns)
{
	hand_back();
	step(ns);
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	std::vector<Record> found;
	for (const Record &record : records()) {
		if (record.header.channel != ZEM_CHANNEL_CPU &&
		    record.header.channel != ZEM_CHANNEL_LOAD)
			continue;
		EXPECT_EQ(record.header.sub_type, 0);
		found.push_back(record);
	}
	return found;
}

std::vector<zem_load> LoadTest::loads(u64 ns)
{
	std::vector<zem_load> found;
	for (const Record &record : cycle(ns))
		if (record.header.channel == ZEM_CHANNEL_LOAD)
			found.push_back(payload_of<zem_load>(record.payload));
	return found;
}

std::vector<int> LoadTest::load_pids(u64 ns)
{
	std::vector<int> pids;
	for (const zem_load &load : loads(ns))
		pids.push_back(static_cast<int>(load.pid));
	return pids;
}

std::vector<zem_cpu> LoadTest::cpus(u64 ns)
{
	std::vector<zem_cpu> found;
	for (const Record &record : cycle(ns))
		if (record.header.channel == ZEM_CHANNEL_CPU)
			found.push_back(payload_of<zem_cpu>(record.payload));
	return found;
}

std::string LoadTest::read_proc(const std::string &path)
{
	const sim::ReadResult read = kernel.proc.read(path);
	return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
}

ssize_t LoadTest::write_proc(const std::string &path, std::string_view text)
{
	return kernel.proc.write(path, text);
}

void LoadTest::set_switch(const std::string &name, bool on)
{
	EXPECT_EQ(write_proc("load_metrics/" + name, on ? "1" : "0"), 1);
}

u64 LoadTest::wallclock() const
{
	return inside().window_end();
}

u64 LoadTest::start_time() const
{
	return inside().window_start();
}

u64 LoadTest::delta() const
{
	return inside().window_length();
}

std::vector<SetterCall> LoadTest::upload(void (*family)(Inside::Setter set))
{
	calls.clear();
	family(note_call);
	return std::move(calls);
}

std::vector<SetterCall> LoadTest::upload_cpus()
{
	return upload(inside().upload_cpus);
}

std::vector<SetterCall> LoadTest::upload_loads()
{
	return upload(inside().upload_tasks);
}

} /* namespace test */
