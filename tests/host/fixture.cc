// SPDX-License-Identifier: GPL-2.0
/* Loads, unloads and uses the module like its users. */
#include "host/fixture.h"

#include <cstring>

namespace test {

std::vector<Record> parse_records(std::span<const std::byte> bytes)
{
	static constexpr zem_record_header kEnd{};
	std::vector<Record> records;
	while (bytes.size() >= sizeof(zem_record_header)) {
		Record record;
		memcpy(&record.header, bytes.data(), sizeof(record.header));
		if (memcmp(&record.header, &kEnd, sizeof(kEnd)) == 0)
			break;
		bytes = bytes.subspan(sizeof(record.header));
		if (record.header.len > bytes.size()) {
			ADD_FAILURE() << "a record of " << record.header.len
				      << " bytes reaches beyond the buffer";
			break;
		}
		record.payload.assign(reinterpret_cast<const char *>(bytes.data()),
				      record.header.len);
		bytes = bytes.subspan(record.header.len);
		records.push_back(std::move(record));
	}
	return records;
}

std::vector<std::string> payloads(const std::vector<Record> &records)
{
	std::vector<std::string> texts;
	for (const Record &record : records)
		texts.push_back(record.payload);
	return texts;
}

UnloadedTest::UnloadedTest(const sim::Options &options) : kernel(options), module(kernel)
{
	kernel.blocks.add("/dev/block/sda", 8, 0, "sda");
	kernel.blocks.add("/dev/block/sde", 8, 64, "sde");
	kernel.blocks.add("/dev/block/by-name/super", 259, 10, "sda26");
	kernel.blocks.add("/dev/block/by-name/userdata", 259, 0xfffff, "sda33");
}

void UnloadedTest::load()
{
	ASSERT_EQ(module.load(), 0);
	expect_collectors_started();
	if (io_indicators)
		return;
	EXPECT_EQ(kernel.sysfs.write("kioind/show1_diskstats", "1"), 1);
	/* A trigger may have found them before. */
	static_cast<void>(kernel.log.drop_last(sim::info("kioind_save_dev ")));
	switch_io_indicators(0);
}

void UnloadedTest::switch_io_indicators(int on)
{
	inside().set_indicators(on);
}

const Inside &UnloadedTest::inside() const
{
	return *module.symbol<const Inside>("zem_inside");
}

void UnloadedTest::expect_collectors_started()
{
	LogLines lines{sim::info("kioind_init done"),
		       sim::info("proc_sched_metrics_init Success!\n"),
		       sim::info("proc_svp_metrics_init Success!\n"),
		       sim::info("proc_load_metrics_init Success!\n")};
	lines.insert(lines.end(), discovery.begin(), discovery.end());
	lines.push_back(sim::info("proc_cgroup_metrics_init Success!\n"));
	EXPECT_TRUE(kernel.log.take_first(lines));
}

void ZemTest::SetUp()
{
	load();
}

void UnloadedTest::unload()
{
	if (show("trace_on") == "0\n")
		store("trace_on", "1");
	/* Unloading stops the consumer first, which needs a record to end. */
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
	/* Restricted hooks stay attached, and the directories are empty except for one file. */
	EXPECT_THAT(kernel.left_hooks,
		    ::testing::UnorderedElementsAre(
			    "vh_sched_info_depart", "vh_task_d_state_dura_record",
			    "rvh_sched_info_dequeued", "rvh_sched_info_arrive",
			    "rvh_irqtime_account_hardirq", "vh_sched_stat_blocked",
			    "vh_blk_bio_endio_record_bi_issue", "vh_blk_bio_submit_record_task",
			    "vh_blk_bio_clone_flag", "vh_task_wchar", "vh_task_rchar",
			    "vh_usb_zem_set"));
	EXPECT_THAT(kernel.left_in_proc,
		    ::testing::UnorderedElementsAre(
			    "sched_metrics", "svp_metrics", "load_metrics",
			    "load_metrics/load_metrics_report", "cgroup_metrics", "zem_procstat",
			    "zem_procstat/set", "zem_procstat/remove_uid_range"));
	EXPECT_THAT(kernel.left_in_sysfs, ::testing::IsEmpty());
	EXPECT_FALSE(kernel.left_listener);
}

void UnloadedTest::TearDown()
{
	EXPECT_THAT(log(), ::testing::IsEmpty()) << "unexpected messages";
	EXPECT_TRUE(kernel.faults.all_happened()) << "a failure or an action was never reached";
	kernel.faults.clear();
	EXPECT_EQ(sim::Scheduler::current().preempt_count, 0);
	if (module.loaded())
		unload();
	kernel.check_leftovers();
	EXPECT_THAT(kernel.problems.take(), ::testing::IsEmpty());
}

Setter *UnloadedTest::setter(const std::string &channel) const
{
	return module.symbol<Setter>(channel + "_zem_set");
}

void UnloadedTest::push(const std::string &payload, const std::string &channel,
			unsigned int sub_type)
{
	setter(channel)(0, payload.data(), static_cast<int>(payload.size()), sub_type);
}

void UnloadedTest::push_sized(size_t size, char fill)
{
	push(std::string(size - ZEM_HEADER_SIZE, fill));
}

ssize_t UnloadedTest::store(const std::string &file, std::string_view text)
{
	return kernel.sysfs.write("zem/" + file, text);
}

std::string UnloadedTest::show(const std::string &file)
{
	const sim::ReadResult read = kernel.sysfs.read("zem/" + file);
	return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
}

unsigned int UnloadedTest::hand_back(const std::string &file)
{
	const std::string answer = show(file);
	if (answer.empty())
		return 0;
	unsigned int bytes = 0;
	EXPECT_EQ(answer.size(), sizeof(bytes));
	memcpy(&bytes, answer.data(), sizeof(bytes));
	return bytes;
}

unsigned long UnloadedTest::notifications()
{
	return kernel.sysfs.notifications("zem/trace");
}

std::span<std::byte> UnloadedTest::shared()
{
	const sim::Mapping mapping = kernel.misc.map("zem_shared", ZEM_SHARED_SIZE);
	EXPECT_EQ(mapping.error, 0);
	return mapping.bytes;
}

std::vector<Record> UnloadedTest::records()
{
	return parse_records(shared());
}

std::vector<int> UnloadedTest::channels()
{
	kernel.run_until_idle();
	std::vector<int> found;
	for (const Record &record : records())
		found.push_back(record.header.channel);
	hand_back();
	return found;
}

std::vector<std::string> UnloadedTest::drained_payloads()
{
	kernel.run_until_idle();
	return payloads(records());
}

LogLines UnloadedTest::log()
{
	return kernel.log.take();
}

} /* namespace test */
