// SPDX-License-Identifier: GPL-2.0
/* Submission of bios: the foreground mark, and the UID that they count for. */
#include "host/io_fixture.h"

namespace test {

class Submissions : public IoTest {};

TEST_F(Submissions, first_bio_of_a_uid_is_of_the_background_and_the_next_of_the_foreground)
{
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_FALSE(submit(10050));
	EXPECT_EQ(state_of(10050), 0U);
	EXPECT_TRUE(submit(10050));
}

TEST_F(Submissions, uid_said_to_be_in_the_foreground_is_from_its_first_bio)
{
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_TRUE(submit(10050));
}

TEST_F(Submissions, uid_in_the_background_has_no_mark)
{
	EXPECT_EQ(set("10050 1"), 7);
	EXPECT_FALSE(submit(10050));
	EXPECT_FALSE(submit(10050));
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_TRUE(submit(10050));
}

TEST_F(Submissions, root_is_never_in_the_foreground)
{
	EXPECT_FALSE(submit(0));
	EXPECT_FALSE(submit(0));
	EXPECT_EQ(set("0 0"), 3);
	EXPECT_EQ(state_of(0), 1U);
	EXPECT_FALSE(submit(0));
}

TEST_F(Submissions, task_without_credentials_is_nobody)
{
	sim::Scheduler::current().fields.cred = nullptr;
	EXPECT_FALSE(submit(10050));
	EXPECT_FALSE(submit(10050));
	EXPECT_EQ(state_of(10050), 1U);
	sim::Scheduler::current().fields.cred = &sim::Scheduler::current().fields;
}

TEST_F(Submissions, without_memory_the_uid_stays_unknown)
{
	kernel.faults.fail("kzalloc_atomic");
	EXPECT_FALSE(submit(10050));
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_FALSE(submit(10050));
	EXPECT_TRUE(submit(10050));
}

TEST_F(Submissions, mark_stays_when_a_marked_bio_is_submitted_again)
{
	as_uid(10050);
	bio submitted = make_bio();
	submitted.flags = 0xffff;
	kernel.hooks.blk_bio_submit_record_task(&submitted);
	EXPECT_EQ(submitted.flags, 0xffff);
}

TEST_F(Submissions, are_counted_by_the_state_of_their_time)
{
	submit(10050); /* unknown: background in the bio, foreground in the count */
	submit(10050);
	set("10050 1");
	submit(10050);
	submit(0);
	static_cast<void>(collect());
	submit(10050);
	submit(0);
	submit(0);
	const zem_kio kio = collect();
	EXPECT_EQ(kio.io_top[0].uid + kio.io_top[1].uid, 10050U);
	for (const zem_io_top &top : {kio.io_top[0], kio.io_top[1]}) {
		const bool root = top.uid == 0;
		EXPECT_EQ(top.value.fbc, root ? 0U : 2U);
		EXPECT_EQ(top.value.bbc, root ? 3U : 2U);
		EXPECT_EQ(top.delta.fbc, 0U);
		EXPECT_EQ(top.delta.bbc, root ? 2U : 1U);
	}
}

TEST_F(Submissions, entry_created_by_another_cpu_meanwhile_is_used)
{
	/* Another CPU makes the UID known during the allocation. */
	kernel.faults.at("kzalloc_atomic", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { EXPECT_FALSE(submit(10050)); });
	});
	EXPECT_FALSE(submit(10051)) << "a different UID, only to reach the action";
	const size_t allocations = kernel.slab.allocations();
	EXPECT_TRUE(submit(10050));
	EXPECT_EQ(kernel.slab.allocations(), allocations);
}

TEST_F(Submissions, uid_seen_on_two_cpus_concurrently_has_one_entry)
{
	const size_t allocations = kernel.slab.allocations();
	kernel.faults.at("kzalloc_atomic", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { EXPECT_FALSE(submit(10050)); });
	});
	EXPECT_TRUE(submit(10050)) << "by then it is known";
	EXPECT_EQ(kernel.slab.allocations(), allocations + 1);
	static_cast<void>(collect());
	EXPECT_EQ(collect().io_top[0].value.fbc, 2U);
}

} /* namespace test */
