// SPDX-License-Identifier: GPL-2.0
/*
 * IO on every CPU, while the snapshot is gathered, shown and uploaded, UIDs change their states and
 * are forgotten, and tasks start and exit. Nothing is lost or counted twice. Meant for
 * ThreadSanitizer.
 */
#include <atomic>
#include <chrono>
#include <thread>

#include "host/io_fixture.h"
#include "kernel/rcu.h"

namespace test {

using namespace std::chrono_literals;

class IoStorm : public UnloadedTest {
public:
	static constexpr unsigned int kCpus = 6;
	static constexpr int kRounds = 1200;
	static constexpr u32 kFirstUid = 10000;

	IoStorm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = kCpus})
	{
		io_indicators = true;
		load();
		store("sched_interval", "0");
		for (const char *path : kPaths)
			disks.push_back(&kernel.blocks.at(path));
		for (unsigned int i = 0; i < kCpus; i++) {
			sim::Task &task = kernel.platform.make_task(
				{.pid = 500 + static_cast<int>(i), .uid = kFirstUid + i});
			task.record.svp_marker = 1;
			task.fields.in_iowait = true;
			static_cast<void>(kernel.platform.stats(task));
			apps.push_back(&task);
		}
	}

	void look() { EXPECT_EQ(kernel.sysfs.write("kioind/show1_diskstats", "1"), 1); }

	[[nodiscard]] bio make_bio(int round, unsigned int cpu)
	{
		const u64 issued = static_cast<u64>(kernel.clock.monotonic_ns()) - (1 << 20);
		return {
			.device = disks[(cpu + round) % disks.size()],
			.operation = static_cast<u32>(round % 2),
			.issue = issued | u64{2} << 54,
			.submitter = 500 + round % static_cast<int>(kCpus),
		};
	}

	/* Runs the app of a CPU: each round has one bio, two reads and a write. */
	void run_app(unsigned int cpu)
	{
		sim::Scheduler::current().fields.uid = kFirstUid + cpu;
		for (int round = 0; round < kRounds; round++) {
			bio submitted = make_bio(round, cpu);
			kernel.hooks.blk_bio_submit_record_task(&submitted);
			bio clone = submitted;
			clone.flags = 0;
			kernel.hooks.blk_bio_clone_flag(&clone, &submitted);
			{
				const zem::RcuReadGuard guard;
				inside().mark_bio(&clone);
			}
			kernel.hooks.task_rchar(nullptr, apps[round % kCpus], 10);
			kernel.hooks.task_rchar(nullptr, apps[round % kCpus], 0);
			kernel.hooks.task_wchar(nullptr, apps[round % kCpus], 7);
			kernel.hooks.vh_sched_stat_blocked(apps[round % kCpus], 1000);
			module.symbol<void(task_struct *, unsigned long long)>(
				"record_uid_iowait")(apps[cpu], 3);
			apps[cpu]->io.read_bytes += 4096;
			apps[cpu]->io.write_bytes += 512;
			kernel.hooks.blk_bio_endio_record_bi_issue(&clone);
			if (round % 16 == 0)
				std::this_thread::sleep_for(50us);
		}
	}

	void change_states()
	{
		for (int i = 0; !stops; i++) {
			const u32 uid = kFirstUid + static_cast<u32>(i) % kCpus;
			const std::string text = std::to_string(uid) + (i % 4 < 2 ? " 1" : " 0");
			EXPECT_GT(kernel.proc.write("zem_procstat/set", text), 0);
			static_cast<void>(module.symbol<unsigned int()>("get_current_fg_uid")());
			std::this_thread::sleep_for(100us);
		}
	}

	/* Uses its own UIDs. */
	void meet_and_forget()
	{
		for (u32 uid = 20000; !stops; uid++) {
			sim::Scheduler::current().fields.uid = uid;
			bio submitted = make_bio(0, 0);
			kernel.hooks.blk_bio_submit_record_task(&submitted);
			if (uid % 8 == 0) {
				EXPECT_GT(kernel.proc.write("zem_procstat/remove_uid_range",
							    "20000-4294967295"),
					  0);
			}
			std::this_thread::sleep_for(100us);
		}
	}

	void fork_and_exit()
	{
		for (int i = 0; !stops; i++) {
			sim::Task &task =
				kernel.platform.make_task({.pid = 5000 + i, .uid = 30000});
			task.io.read_bytes = 10;
			std::this_thread::sleep_for(200us);
			task.io.is_exiting = true;
			kernel.platform.exit(task);
		}
	}

	/* Reads states of UIDs that change meanwhile, and of some that are forgotten. */
	void look_at_states()
	{
		const auto state_of = inside().uid_state;
		const zem::RcuReadGuard guard;
		for (u32 uid = kFirstUid; uid < kFirstUid + kCpus; uid++)
			EXPECT_LE(state_of(uid), 1U);
		for (u32 uid = 20000; uid < 20064; uid++)
			EXPECT_LE(state_of(uid), 1U);
	}

	void look_at_views()
	{
		while (!stops) {
			for (const char *name :
			     {"show1_diskstats", "show2_uid_io", "show3_bio_time"})
				EXPECT_GT(kernel.sysfs.read(std::string("kioind/") + name).result,
					  1000);
			look();
			look_at_states();
			std::this_thread::sleep_for(300us);
		}
	}

	void gather()
	{
		while (!stops) {
			EXPECT_NE(module.symbol<void *()>("get_all_kioind")(), nullptr);
			std::this_thread::sleep_for(200us);
		}
	}

	void upload()
	{
		while (!stops) {
			EXPECT_EQ(store("trigger", "1"), 1);
			hand_back();
			std::this_thread::sleep_for(500us);
		}
	}

	/* Runs all apps to their ends, and the other threads until then. */
	void run(std::vector<void (IoStorm::*)()> company)
	{
		std::vector<sim::Thread> others;
		others.reserve(company.size());
		for (const auto member : company)
			others.push_back(
				kernel.spawn("company", [this, member] { (this->*member)(); }));
		{
			std::vector<sim::Thread> threads;
			for (unsigned int cpu = 0; cpu < kCpus; cpu++)
				threads.push_back(
					kernel.spawn("app", [=, this] { run_app(cpu); }, cpu));
		}
		stops = true;
	}

	/* Sets the time, so that no one waits for a reader that does not exist. */
	void start_clock()
	{
		clock.emplace(kernel.spawn("clock", [this] {
			while (!ended) {
				kernel.advance(50);
				std::this_thread::sleep_for(1ms);
			}
		}));
	}

	void end()
	{
		unload();
		ended = true;
		clock->join();
		for (const sim::LogLine &line : log())
			EXPECT_TRUE(line.text.starts_with("read data timeout") ||
				    line.text == "kioind_save_dev ")
				<< line;
	}

	/* Checks the final counters of the tasks. */
	void expect_svp_counts()
	{
		u64 reads = 0;
		u64 writes = 0;
		u64 bios = 0;
		u64 waits = 0;
		for (sim::Task *task : apps) {
			const zem_svp_stats &stats = kernel.platform.stats(*task);
			reads += stats.read_bytes;
			writes += stats.write_syscall_cnt;
			bios += stats.bio_read_cnt + stats.bio_write_cnt;
			waits += stats.iowait_total;
		}
		constexpr u64 kAll = u64{kCpus} * kRounds;
		EXPECT_EQ(reads, 10 * kAll);
		EXPECT_EQ(writes, kAll);
		EXPECT_EQ(bios, kAll);
		EXPECT_EQ(waits, 1000 * kAll);
	}

	void expect_uid_counts(const zem_kio &kio)
	{
		unsigned int found = 0;
		for (const zem_io_top &top : kio.io_top) {
			if (top.uid < kFirstUid || top.uid >= kFirstUid + kCpus)
				continue;
			found++;
			EXPECT_EQ(top.value.frb + top.value.brb, 4096U * kRounds);
			EXPECT_EQ(top.value.fwb + top.value.bwb, 512U * kRounds);
			EXPECT_EQ(top.value.fbc + top.value.bbc, 1U * kRounds);
			EXPECT_EQ(top.value.awc, 7U * kRounds);
			EXPECT_EQ(top.read_calls, 2U * kRounds);
			EXPECT_EQ(top.value.iowait, 3U * kRounds);
		}
		EXPECT_EQ(found, kCpus);
	}

	[[nodiscard]] zem_kio collect()
	{
		return *static_cast<const zem_kio *>(module.symbol<void *()>("get_all_kioind")());
	}

	std::vector<block_device *> disks;
	std::vector<sim::Task *> apps;
	std::atomic<bool> stops{false};
	std::atomic<bool> ended{false};
	std::optional<sim::Thread> clock;
};

/* Time stands still, so the latencies are those of the bios. */
TEST_F(IoStorm, everything_is_counted_once_whoever_looks_meanwhile)
{
	look();
	/* All are known from the start, so that their transfers count. */
	for (unsigned int i = 0; i < kCpus; i++)
		EXPECT_GT(kernel.proc.write("zem_procstat/set",
					    std::to_string(kFirstUid + i) + " 0"),
			  0);
	run({&IoStorm::change_states, &IoStorm::fork_and_exit, &IoStorm::look_at_views,
	     &IoStorm::gather, &IoStorm::gather});
	static_cast<void>(collect());
	const zem_kio kio = collect();
	constexpr u64 kAll = u64{kCpus} * kRounds;
	EXPECT_EQ(kio.read_bios, kAll / 2);
	EXPECT_EQ(kio.write_async_bios, kAll / 2);
	EXPECT_EQ(kio.read_pages, kAll);
	EXPECT_EQ(kio.fg_bios + kio.bg_bios, kAll);
	expect_svp_counts();
	expect_uid_counts(kio);
	start_clock();
	end();
}

TEST_F(IoStorm, uploads_and_forgetting_take_nothing_from_others)
{
	start_clock();
	look();
	for (unsigned int i = 0; i < kCpus; i++)
		EXPECT_GT(kernel.proc.write("zem_procstat/set",
					    std::to_string(kFirstUid + i) + " 0"),
			  0);
	run({&IoStorm::change_states, &IoStorm::meet_and_forget, &IoStorm::look_at_views,
	     &IoStorm::upload, &IoStorm::upload});
	EXPECT_GT(kernel.proc.write("zem_procstat/remove_uid_range", "20000-4294967295"), 0);
	/* Unused ranks would keep earlier UIDs. */
	*inside().snapshot() = {};
	static_cast<void>(collect());
	expect_svp_counts();
	expect_uid_counts(collect());
	end();
}

} /* namespace test */
