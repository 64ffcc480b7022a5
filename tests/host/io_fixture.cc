// SPDX-License-Identifier: GPL-2.0
/* Creates bios, raises their hooks, and gets the snapshot. */
#include "host/io_fixture.h"

#include <cstdarg>
#include <cstring>

#include "kernel/rcu.h"

namespace test {

void Image::put(size_t offset, const void *value, size_t size)
{
	ASSERT_LE(offset + size, bytes_.size());
	memcpy(&bytes_[offset], value, size);
}

std::vector<size_t> Image::differences(const zem_kio &kio) const
{
	static_assert(sizeof(kio) == sizeof(bytes_));
	const auto *bytes = reinterpret_cast<const std::byte *>(&kio);
	std::vector<size_t> offsets;
	for (size_t i = 0; i < bytes_.size(); i += sizeof(u32))
		if (memcmp(&bytes_[i], bytes + i, sizeof(u32)) != 0)
			offsets.push_back(i);
	return offsets;
}

void IoTest::SetUp()
{
	ZemTest::SetUp();
	store("sched_interval", "0");
}

void IoTest::find_devices()
{
	EXPECT_EQ(kernel.sysfs.write("kioind/show1_diskstats", "1"), 1);
	EXPECT_EQ(log(), LogLines({sim::info("kioind_save_dev ")}));
}

namespace {

/* The time bits of a bio's stamp. */
constexpr u64 kTime = (1ull << 51) - 1;

} /* namespace */

void IoTest::step_past_the_stamp_s_wrap(u64 ns)
{
	const u64 now = static_cast<u64>(kernel.clock.monotonic_ns());
	kernel.clock.step_monotonic_ns(static_cast<int64_t>(kTime + 1 - (now & kTime) + ns));
}

bio IoTest::make_bio(const BioOptions &options)
{
	const u64 issued = static_cast<u64>(kernel.clock.monotonic_ns()) - options.latency;
	return {
		.device = &device(options.device),
		.operation = options.operation,
		.flags = options.in_foreground ? kForegroundMark : u16{0},
		.issue = (issued & kTime) | u64{options.pages} << 54,
		.submitter = options.submitter,
	};
}

bio IoTest::complete(const BioOptions &options)
{
	bio done = make_bio(options);
	kernel.hooks.blk_bio_endio_record_bi_issue(&done);
	return done;
}

zem::BioCounters &IoTest::counters()
{
	return *inside().bio_counters();
}

u32 IoTest::counted_latencies()
{
	u32 sum = 0;
	for (const auto &device : counters().b_q2c)
		for (const auto &direction : device)
			for (const auto &bio_class : direction)
				for (const u32 slot : bio_class)
					sum += slot;
	return sum;
}

zem_kio IoTest::collect()
{
	const void *kio = module.symbol<void *()>("get_all_kioind")();
	if (!kio)
		throw std::runtime_error("there is no snapshot");
	return *static_cast<const zem_kio *>(kio);
}

zem_kio &IoTest::snapshot()
{
	return *inside().snapshot();
}

std::vector<zem_kio> IoTest::upload()
{
	hand_back();
	EXPECT_EQ(store("trigger", "1"), 1);
	kernel.run_until_idle();
	std::vector<zem_kio> uploaded;
	for (const Record &record : records()) {
		if (record.header.channel != ZEM_CHANNEL_KIO)
			continue;
		EXPECT_EQ(record.header.sub_type, 0);
		EXPECT_EQ(record.payload.size(), sizeof(zem_kio));
		memcpy(&uploaded.emplace_back(), record.payload.data(), sizeof(zem_kio));
	}
	return uploaded;
}

bool IoTest::submit(unsigned int uid)
{
	as_uid(uid);
	bio submitted = make_bio();
	kernel.hooks.blk_bio_submit_record_task(&submitted);
	EXPECT_EQ(submitted.flags & ~kForegroundMark, 0);
	return submitted.flags & kForegroundMark;
}

u32 IoTest::state_of(unsigned int uid)
{
	const zem::RcuReadGuard guard;
	return inside().uid_state(uid);
}

void IoTest::mark(bio &marked)
{
	const zem::RcuReadGuard guard;
	inside().mark_bio(&marked);
}

std::string IoTest::view(const std::string &name)
{
	const sim::ReadResult read = kernel.sysfs.read("kioind/" + name);
	return read.result < 0 ? "error " + std::to_string(read.result) : read.data;
}

void SvpIoTest::SetUp()
{
	IoTest::SetUp();
	task = &kernel.platform.make_task({.pid = 321, .uid = 10123});
	task->record.svp_marker = 0x10000;
	task->fields.in_iowait = true;
	static_cast<void>(stats());
}

const std::vector<Lack> kLacks{
	{"important_now",
	 [](sim::Task &task) {
		 task.fields.svp = 0;
	 }},
	{"odd_answer",
	 [](sim::Task &task) {
		 task.fields.svp = 2;
	 }},
	{"own_standing",
	 [](sim::Task &task) {
		 task.fields.orig_svp = 0;
	 }},
	{"odd_standing",
	 [](sim::Task &task) {
		 task.fields.orig_svp = 6;
	 }},
	{"marker",
	 [](sim::Task &task) {
		 task.record.svp_marker = 0;
	 }},
	{"record",
	 [](sim::Task &task) {
		 sim::Platform::set_record(task, nullptr);
	 }},
	{"record_but_an_error",
	 [](sim::Task &task) {
		 sim::Platform::set_record(task, reinterpret_cast<task_ext *>(-4095l));
	 }},
	{"record_but_the_last_error",
	 [](sim::Task &task) {
		 sim::Platform::set_record(task, reinterpret_cast<task_ext *>(-1l));
	 }},
};

bool is_clear(const zem_svp_stats &stats)
{
	static constexpr zem_svp_stats kClear{};
	return memcmp(&stats, &kClear, sizeof(stats)) == 0;
}

std::string printed(const char *fmt, ...)
{
	va_list arguments;
	va_start(arguments, fmt);
	char text[8192];
	const int length = vsnprintf(text, sizeof(text), fmt, arguments);
	va_end(arguments);
	EXPECT_LT(static_cast<size_t>(length), sizeof(text));
	return text;
}

} /* namespace test */
