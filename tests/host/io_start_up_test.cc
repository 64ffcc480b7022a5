// SPDX-License-Identifier: GPL-2.0
/* Start-up of the IO indicators: hooks, files, their order, and the first baseline. */
#include <algorithm>

#include "host/io_fixture.h"
#include "kernel/api/proc_fs.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class IoStartUp : public UnloadedTest {
protected:
	IoStartUp() { io_indicators = true; }
};

TEST_F(IoStartUp, attaches_its_hooks_in_order_before_the_files)
{
	std::vector<std::string> attached;
	const auto note_new = [&] {
		for (const std::string &name : kernel.hooks.attached())
			if (std::ranges::find(attached, name) == attached.end())
				attached.push_back(name);
	};
	for (unsigned int nth = 2; nth <= 6; nth++)
		kernel.faults.at("tracepoint_probe_register", note_new, nth);
	kernel.faults.at("kobject_create_and_add", [&] {
		note_new();
		EXPECT_THAT(kernel.proc.list("zem_procstat"),
			    ElementsAre(Pair("set", 0222U), Pair("remove_uid_range", 0222U)));
	});
	load();
	EXPECT_THAT(attached,
		    ElementsAre("vh_blk_bio_endio_record_bi_issue", "vh_blk_bio_submit_record_task",
				"vh_blk_bio_clone_flag", "vh_task_wchar", "vh_task_rchar",
				"vh_sched_stat_blocked"));
}

TEST_F(IoStartUp, has_its_table_of_uids_before_its_hooks)
{
	/* The second hook is attached by then. */
	kernel.faults.at(
		"tracepoint_probe_register",
		[&] {
			sim::Scheduler::current().fields.uid = 10050;
			for (u16 flags : {u16{0}, u16{0x2000}}) {
				bio submitted{};
				kernel.hooks.blk_bio_submit_record_task(&submitted);
				EXPECT_EQ(submitted.flags, flags);
			}
			sim::Scheduler::current().fields.uid = 0;
		},
		3);
	load();
	EXPECT_TRUE(kernel.faults.all_happened());
}

TEST_F(IoStartUp, goes_on_without_hooks_and_without_files_of_the_uids)
{
	for (unsigned int nth = 1; nth <= 6; nth++)
		kernel.faults.fail("tracepoint_probe_register", nth);
	kernel.faults.fail("proc_create_data", 1);
	kernel.faults.fail("proc_create_data", 2);
	EXPECT_EQ(module.load(), 0);
	expect_collectors_started();
	EXPECT_THAT(kernel.hooks.attached(), ::testing::SizeIs(10));
	EXPECT_THAT(kernel.proc.list("zem_procstat"), IsEmpty());
	EXPECT_NE(module.symbol<void *()>("get_all_kioind")(), nullptr);
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
}

TEST_F(IoStartUp, goes_on_without_the_directory_of_the_uids_and_leaves_none)
{
	/* A directory that an earlier load has left, with content. */
	proc_dir_entry *left = proc_mkdir("zem_procstat", nullptr);
	ASSERT_TRUE(left);
	ASSERT_TRUE(proc_mkdir("set", left));
	kernel.faults.fail("proc_mkdir");
	EXPECT_EQ(module.load(), 0);
	EXPECT_TRUE(kernel.log.take_first({sim::err(
		"zem_proc_uid_sys_stats_init: failed to create zem_procstat proc entry")}));
	expect_collectors_started();
	EXPECT_FALSE(kernel.proc.exists("zem_procstat"));
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
}

TEST_F(IoStartUp, takes_the_first_baseline_and_uploads_nothing)
{
	sim::Task &app = kernel.platform.make_task({.pid = 500, .uid = 10050});
	app.io.read_bytes = 1000;
	int gathered = 0;
	kernel.blocks.set_long_iowaits([&](void *) { gathered++; });
	/* The UID becomes known during start-up. */
	kernel.faults.at(
		"kobject_create_and_add",
		[this] {
			bio submitted;
			sim::Scheduler::current().fields.uid = 10050;
			kernel.hooks.blk_bio_submit_record_task(&submitted);
			sim::Scheduler::current().fields.uid = 0;
		},
		2);
	load();
	EXPECT_EQ(gathered, 1);
	EXPECT_THAT(drained_payloads(), IsEmpty());
	app.io.read_bytes = 1500;
	const auto *kio = static_cast<const zem_kio *>(module.symbol<void *()>("get_all_kioind")());
	EXPECT_EQ(kio->io_top[0].uid, 10050U);
	EXPECT_EQ(kio->io_top[0].value.frb, 1500U);
	EXPECT_EQ(kio->io_top[0].delta.frb, 500U);
}

} /* namespace test */
