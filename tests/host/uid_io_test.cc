// SPDX-License-Identifier: GPL-2.0
/* IO and waits of UIDs, and the state that they are charged to. */
#include "host/io_fixture.h"

namespace test {

class UidIo : public IoTest {
protected:
	/* Creates a process of the UID, with its own thread group. */
	[[nodiscard]] sim::Task &process(unsigned int uid, sim::Task *leader = nullptr)
	{
		return kernel.platform.make_task({.pid = next_pid++, .uid = uid, .leader = leader});
	}

	/* Returns the UID's rank after a collection. It must have one. */
	[[nodiscard]] zem_io_top top(unsigned int uid)
	{
		snapshot() = {};
		const zem_kio kio = collect();
		for (const zem_io_top &top : kio.io_top)
			if (top.uid == uid)
				return top;
		throw std::runtime_error("the uid is in no rank");
	}

	[[nodiscard]] u64 iowait(unsigned int uid) { return top(uid).value.iowait; }

	/* Makes the UID known, and collects once. */
	void meet(unsigned int uid)
	{
		set(std::to_string(uid) + " 0");
		static_cast<void>(collect());
	}

	void record_io(kiocb *iocb, unsigned long long bytes, int is_write)
	{
		module.symbol<void(kiocb *, unsigned long long, int)>(
			"record_uid_io_sync")(iocb, bytes, is_write);
	}

	void record_iowait(sim::Task *task, unsigned long long delay)
	{
		module.symbol<void(task_struct *, unsigned long long)>("record_uid_iowait")(task,
											    delay);
	}

	int next_pid = 500;
};

TEST_F(UidIo, transfers_count_for_the_current_task_whatever_task_the_hook_names)
{
	sim::Task &other = process(10060);
	meet(10050);
	meet(10060);
	as_uid(10050);
	kernel.hooks.task_rchar(nullptr, &other, 100);
	kernel.hooks.task_rchar(nullptr, &other, 0);
	EXPECT_EQ(top(10050).read_calls, 2U);
	EXPECT_EQ(top(10060).read_calls, 0U);
}

TEST_F(UidIo, writes_are_sync_by_their_control_block)
{
	meet(10050);
	as_uid(10050);
	kiocb sync{.ki_flags = sim::kDsync};
	kiocb async{.ki_flags = 0};
	kernel.hooks.task_wchar(&sync, nullptr, 1);
	kernel.hooks.task_wchar(&async, nullptr, 10);
	kernel.hooks.task_wchar(nullptr, nullptr, 100);
	kernel.hooks.task_rchar(&sync, nullptr, 1000);
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.swc, 1U);
	EXPECT_EQ(found.value.awc, 110U);
	EXPECT_EQ(found.read_calls, 1U);
	EXPECT_EQ(found.delta.swc, 1U);
	EXPECT_EQ(found.delta.awc, 110U);
}

TEST_F(UidIo, exported_function_counts_the_same)
{
	meet(10050);
	as_uid(10050);
	kiocb sync{.ki_flags = sim::kDsync};
	record_io(&sync, 5, 1);
	record_io(nullptr, 6, 2);
	record_io(nullptr, 7, 0);
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.swc, 5U);
	EXPECT_EQ(found.value.awc, 6U);
	EXPECT_EQ(found.read_calls, 1U);
}

TEST_F(UidIo, counts_of_all_cpus_are_added_up)
{
	meet(10050);
	as_uid(10050);
	kiocb sync{.ki_flags = sim::kDsync};
	sim::Task &waiter = process(10050);
	waiter.fields.in_iowait = true;
	for (unsigned int cpu = 0; cpu < 8; cpu++) {
		kernel.move_to_cpu(cpu);
		kernel.hooks.task_rchar(nullptr, nullptr, 1);
		kernel.hooks.task_wchar(&sync, nullptr, 10);
		kernel.hooks.task_wchar(nullptr, nullptr, 100);
		record_iowait(&waiter, 1000);
		EXPECT_TRUE(submit(10050));
	}
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.read_calls, 8U);
	EXPECT_EQ(found.value.swc, 80U);
	EXPECT_EQ(found.value.awc, 800U);
	EXPECT_EQ(found.value.iowait, 8000U);
	EXPECT_EQ(found.value.fbc, 8U);
}

TEST_F(UidIo, exported_functions_keep_the_entry_from_being_freed)
{
	meet(10050);
	as_uid(10050);
	sim::Task &waiter = process(10050);
	waiter.fields.in_iowait = true;
	unsigned int sections = 0;
	for (unsigned int strike = 1; strike <= 3; strike++)
		kernel.faults.at("rcu_read_lock", [&] { sections++; }, strike);
	record_io(nullptr, 1, 0);
	EXPECT_EQ(sections, 1U);
	record_iowait(&waiter, 1);
	EXPECT_EQ(sections, 2U);
	kernel.faults.clear();
}

TEST_F(UidIo, transfers_and_waits_make_no_uid_known)
{
	const size_t allocations = kernel.slab.allocations();
	sim::Task &task = process(10050);
	task.fields.in_iowait = true;
	as_uid(10050);
	kernel.hooks.task_rchar(nullptr, &task, 100);
	kernel.hooks.task_wchar(nullptr, &task, 100);
	record_iowait(&task, 100);
	EXPECT_EQ(kernel.slab.allocations(), allocations);
	EXPECT_EQ(state_of(10050), 1U);
}

TEST_F(UidIo, who_has_no_credentials_is_nobody)
{
	sim::Task &task = process(10050);
	meet(10050);
	as_uid(10050);
	task.fields.in_iowait = true;
	task.fields.cred = nullptr;
	record_iowait(&task, 100);
	sim::Scheduler::current().fields.cred = nullptr;
	kernel.hooks.task_rchar(nullptr, nullptr, 100);
	kernel.hooks.task_wchar(nullptr, nullptr, 100);
	sim::Scheduler::current().fields.cred = &sim::Scheduler::current().fields;
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.read_calls, 0U);
	EXPECT_EQ(found.value.awc, 0U);
	EXPECT_EQ(found.value.iowait, 0U);
}

TEST_F(UidIo, no_credentials_are_not_those_of_the_largest_uid)
{
	sim::Task &task = process(10050);
	meet(~0u);
	task.fields.in_iowait = true;
	task.fields.cred = nullptr;
	record_iowait(&task, 100);
	sim::Scheduler::current().fields.cred = nullptr;
	kernel.hooks.task_rchar(nullptr, nullptr, 100);
	bio submitted = make_bio();
	kernel.hooks.blk_bio_submit_record_task(&submitted);
	mark(submitted);
	EXPECT_EQ(submitted.flags, 0);
	sim::Scheduler::current().fields.cred = &sim::Scheduler::current().fields;
	const zem_io_top found = top(~0u);
	EXPECT_EQ(found.value.iowait, 0U);
	EXPECT_EQ(found.read_calls, 0U);
	EXPECT_EQ(found.value.fbc, 0U);
}

TEST_F(UidIo, transfers_of_root_are_counted)
{
	meet(0);
	as_uid(0);
	kiocb sync{.ki_flags = sim::kDsync};
	kernel.hooks.task_rchar(nullptr, nullptr, 100);
	kernel.hooks.task_wchar(nullptr, nullptr, 10);
	kernel.hooks.task_wchar(&sync, nullptr, 1);
	const zem_io_top found = top(0);
	EXPECT_EQ(found.read_calls, 1U);
	EXPECT_EQ(found.value.awc, 10U);
	EXPECT_EQ(found.value.swc, 1U);
}

TEST_F(UidIo, iowait_is_of_the_task_and_only_while_it_waits_for_io)
{
	sim::Task &task = process(10050);
	meet(10050);
	as_uid(10060);
	record_iowait(&task, 100);
	record_iowait(nullptr, 100);
	EXPECT_EQ(iowait(10050), 0U);
	task.fields.in_iowait = true;
	record_iowait(&task, 100);
	record_iowait(&task, 1ull << 40);
	EXPECT_EQ(iowait(10050), (1ull << 40) + 100);
}

TEST_F(UidIo, iowait_of_root_is_counted)
{
	sim::Task &task = process(0);
	meet(0);
	task.fields.in_iowait = true;
	record_iowait(&task, 100);
	EXPECT_EQ(iowait(0), 100U);
}

TEST_F(UidIo, iowait_can_be_recorded_under_the_run_queue_lock)
{
	sim::Task &task = process(10050);
	meet(10050);
	task.fields.in_iowait = true;
	kernel.under_run_queue_lock([&] { record_iowait(&task, 100); });
	EXPECT_EQ(iowait(10050), 100U);
}

TEST_F(UidIo, what_tasks_do_is_charged_to_the_state_of_the_time)
{
	sim::Task &task = process(10050);
	meet(10050);
	task.io.read_bytes = 100;
	task.io.write_bytes = 200;
	set("10050 1");
	task.io.read_bytes = 1100;
	task.io.write_bytes = 3200;
	zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 100U);
	EXPECT_EQ(found.value.fwb, 200U);
	EXPECT_EQ(found.value.brb, 1000U);
	EXPECT_EQ(found.value.bwb, 3000U);
	EXPECT_EQ(found.delta_total, 4300U);

	set("10050 0");
	task.io.read_bytes = 1111;
	found = top(10050);
	EXPECT_EQ(found.value.frb, 111U);
	EXPECT_EQ(found.value.brb, 1000U);
	EXPECT_EQ(found.delta_total, 11U);
}

TEST_F(UidIo, state_that_it_has_already_charges_nothing)
{
	sim::Task &task = process(10050);
	meet(10050);
	task.io.read_bytes = 100;
	const unsigned long visits = kernel.io_visits.threads;
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_EQ(kernel.io_visits.threads, visits);
	EXPECT_EQ(set("10050 1"), 7);
	EXPECT_EQ(kernel.io_visits.threads, visits + 1);
}

TEST_F(UidIo, first_charge_is_all_that_its_tasks_have_ever_done)
{
	sim::Task &task = process(10050);
	task.io.read_bytes = 100;
	set("10050 1");
	static_cast<void>(collect());
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 100U) << "a new UID is in the foreground";
	EXPECT_EQ(found.value.brb, 0U);
}

TEST_F(UidIo, all_threads_of_a_process_count_as_its_leader_s_uid)
{
	sim::Task &leader = process(10050);
	sim::Task &thread = process(10099, &leader);
	sim::Task &stranger = process(10060);
	sim::Task &second = process(10050);
	meet(10050);
	leader.io.read_bytes = 1;
	thread.io.read_bytes = 10;
	stranger.io.read_bytes = 100;
	second.io.read_bytes = 1000;
	EXPECT_EQ(top(10050).value.frb, 1011U);
	set("10050 1");
	leader.io.read_bytes = 2;
	thread.io.read_bytes = 20;
	stranger.io.read_bytes = 200;
	second.io.read_bytes = 2000;
	set("10050 0");
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 1011U);
	EXPECT_EQ(found.value.brb, 1011U);
}

TEST_F(UidIo, exiting_threads_stop_counting_and_a_fallen_sum_charges_nothing)
{
	sim::Task &leader = process(10050);
	sim::Task &thread = process(10050, &leader);
	leader.io.read_bytes = 1000;
	thread.io.read_bytes = 500;
	meet(10050);
	EXPECT_EQ(top(10050).value.frb, 1500U);

	thread.io.is_exiting = true;
	leader.io.read_bytes = 1100;
	EXPECT_EQ(top(10050).value.frb, 1500U) << "the sum has fallen";
	leader.io.read_bytes = 1150;
	zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 1550U) << "from there on";
	EXPECT_EQ(found.delta_total, 50U);

	kernel.platform.exit(thread);
	leader.io.read_bytes = 1151;
	EXPECT_EQ(top(10050).value.frb, 1551U);
}

TEST_F(UidIo, threads_behind_an_exiting_leader_still_count)
{
	sim::Task &leader = process(10050);
	sim::Task &thread = process(10050, &leader);
	leader.io.is_exiting = true;
	leader.io.read_bytes = 7;
	meet(10050);
	thread.io.read_bytes = 500;
	EXPECT_EQ(top(10050).value.frb, 500U);
}

TEST_F(UidIo, fields_fall_and_rise_apart)
{
	sim::Task &task = process(10050);
	task.io.read_bytes = 1000;
	task.io.write_bytes = 1000;
	meet(10050);
	task.io.read_bytes = 900;
	task.io.write_bytes = 1300;
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 1000U);
	EXPECT_EQ(found.value.fwb, 1300U);
	EXPECT_EQ(found.delta_total, 300U);
}

TEST_F(UidIo, uid_without_tasks_starts_again_from_0)
{
	sim::Task &task = process(10050);
	task.io.read_bytes = 1000;
	meet(10050);
	kernel.platform.exit(task);
	EXPECT_EQ(top(10050).delta_total, 0U);
	process(10050).io.read_bytes = 30;
	const zem_io_top found = top(10050);
	EXPECT_EQ(found.value.frb, 1030U);
	EXPECT_EQ(found.delta_total, 30U);
}

TEST_F(UidIo, cancelled_writes_are_taken_off_for_each_thread)
{
	sim::Task &leader = process(10050);
	sim::Task &thread = process(10050, &leader);
	meet(10050);
	leader.io.write_bytes = 1000;
	leader.io.cancelled_write_bytes = 300;
	thread.io.write_bytes = 100;
	thread.io.cancelled_write_bytes = 500;
	EXPECT_EQ(top(10050).value.fwb, 700U);
	thread.io.write_bytes = 500;
	EXPECT_EQ(top(10050).value.fwb, 700U) << "just made up";
	thread.io.write_bytes = 501;
	EXPECT_EQ(top(10050).value.fwb, 701U);
}

TEST_F(UidIo, task_of_an_invalid_uid_counts_as_the_overflow_uid_s)
{
	sim::Task &task = process(~0u);
	meet(65534);
	task.io.read_bytes = 10;
	EXPECT_EQ(top(65534).value.frb, 10U);
}

TEST_F(UidIo, root_is_charged_in_the_background)
{
	sim::Task &task = process(0);
	submit(0);
	static_cast<void>(collect());
	task.io.read_bytes = 10;
	const zem_io_top found = top(0);
	EXPECT_EQ(found.value.brb, 10U);
	EXPECT_EQ(found.value.frb, 0U);
	EXPECT_EQ(found.value.bbc, 1U);
}

TEST_F(UidIo, root_s_bytes_follow_the_state_that_was_written_and_its_bios_do_not)
{
	sim::Task &task = process(0);
	meet(0);
	task.io.read_bytes = 10;
	submit(0);
	set("0 1");
	task.io.read_bytes = 110;
	submit(0);
	const zem_io_top found = top(0);
	EXPECT_EQ(found.value.frb, 10U);
	EXPECT_EQ(found.value.brb, 100U);
	EXPECT_EQ(found.value.fbc, 0U);
	EXPECT_EQ(found.value.bbc, 2U);
}

struct Crowd {
	int uids;
};

class Crowds : public UidIo, public ::testing::WithParamInterface<Crowd> {};

TEST_P(Crowds, are_walked_once_by_a_collection)
{
	const int uids = GetParam().uids;
	for (int i = 0; i < uids; i++) {
		sim::Task &leader = process(10000 + i);
		static_cast<void>(process(10000 + i, &leader));
		submit(10000 + i);
	}
	static_cast<void>(collect());
	const unsigned long threads = kernel.io_visits.threads;
	const unsigned long processes = kernel.io_visits.processes;
	static_cast<void>(collect());
	EXPECT_EQ(kernel.io_visits.threads - threads, 2U * uids);
	EXPECT_EQ(kernel.io_visits.processes - processes, 1U * uids);
}

INSTANTIATE_TEST_SUITE_P(UidCosts, Crowds, ::testing::Values(Crowd{10}, Crowd{100}, Crowd{1000}),
			 [](const auto &info) { return std::to_string(info.param.uids); });

} /* namespace test */
