// SPDX-License-Identifier: GPL-2.0
/* Start-up with a failure at each step, and shut-down in various states. */
#include <cerrno>
#include <functional>
#include <memory>
#include <string_view>

#include "host/fixture.h"

namespace test {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

/* Allocations of the cgroup metrics, before that of the shared buffer. */
constexpr unsigned int kSnapshots = 2;

} /* namespace */

class StartUp : public UnloadedTest {};
class ShutDown : public ZemTest {};

TEST_F(StartUp, leaves_the_node_the_device_and_the_consumer_and_no_collector)
{
	load();
	EXPECT_TRUE(kernel.sysfs.exists("zem"));
	EXPECT_THAT(kernel.misc.names(), ElementsAre("zem_shared"));
	EXPECT_THAT(kernel.scheduler.unfinished(), ElementsAre("rb_consumer"));
	EXPECT_EQ(show("trace_on"), "1\n");
}

TEST_F(StartUp, ring_buffer_has_8192_bytes_a_cpu_and_the_shared_buffer_is_one_allocation)
{
	load();
	EXPECT_EQ(kernel.ring_buffers.only().sub_buffers, 3U);
	EXPECT_EQ(kernel.slab.allocations(), 1U + kSnapshots);
	EXPECT_THAT(shared(), Each(std::byte{0}));
}

struct FailingStep {
	const char *call;
	LogLines log;
	unsigned int nth = 1;
};

class FailingSteps : public UnloadedTest, public ::testing::WithParamInterface<FailingStep> {};

TEST_P(FailingSteps, end_in_ENOMEM_with_their_message_and_keep_the_collectors)
{
	kernel.faults.fail(GetParam().call, GetParam().nth);
	EXPECT_EQ(module.load(), -ENOMEM);
	expect_collectors_started();
	EXPECT_EQ(log(), GetParam().log);
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
	EXPECT_THAT(kernel.left_in_sysfs, IsEmpty());
	kernel.check_leftovers();
	EXPECT_THAT(kernel.problems.take(), IsEmpty());

	load();
	push("second load");
	EXPECT_THAT(drained_payloads(), ElementsAre("second load"));
}

INSTANTIATE_TEST_SUITE_P(
	StartUp, FailingSteps,
	::testing::Values(FailingStep{"kobject_create_and_add",
				      {sim::crit("zem_init:zem sys node create error \n"),
				       sim::crit("zem_init: zem sys node create error \n")},
				      2},
			  FailingStep{"sysfs_create_group",
				      {sim::crit("zem_init:sysfs_create_group failed\n")},
				      2}),
	[](const auto &info) { return std::string(info.param.call); });

/* Steps during which the files exist, so that user space can start the collector. */
const FailingStep kStepsBehindTheFiles[] = {
	{"ring_buffer_alloc", {sim::err("failed to alloc ringbuffer\n")}},
	{"kzalloc", {sim::err("failed to alloc zem_buffer_sum\n")}, 1 + kSnapshots},
	{"misc_register", {sim::err("failed to create zem share device\n")}},
	{"kthread_create", {}},
};

INSTANTIATE_TEST_SUITE_P(StartUpOfTheHub, FailingSteps, ::testing::ValuesIn(kStepsBehindTheFiles),
			 [](const auto &info) { return std::string(info.param.call); });

class FailingStepsBehindTheFiles : public FailingSteps {};

TEST_P(FailingStepsBehindTheFiles, end_a_collector_that_was_started_meanwhile)
{
	kernel.faults.at(
		GetParam().call,
		[this] {
			EXPECT_EQ(store("trace_on", "0"), 1);
			EXPECT_EQ(store("trace_on", "1"), 1);
		},
		GetParam().nth);
	kernel.faults.fail(GetParam().call, GetParam().nth);
	EXPECT_EQ(module.load(), -ENOMEM);
	EXPECT_THAT(kernel.scheduler.unfinished(), IsEmpty());
	expect_collectors_started();
	LogLines expected{sim::info("trace_on disable\n"), sim::info("trace_on enable\n")};
	expected.insert(expected.end(), GetParam().log.begin(), GetParam().log.end());
	EXPECT_EQ(log(), expected);
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
	kernel.run_for(3 * kCycle);
}

INSTANTIATE_TEST_SUITE_P(StartUp, FailingStepsBehindTheFiles,
			 ::testing::ValuesIn(kStepsBehindTheFiles),
			 [](const auto &info) { return std::string(info.param.call); });

struct FailingCollector {
	const char *call;
	unsigned int nth;
	LogLines log;
	size_t hooks;
	size_t proc_entries;
	bool listens;
	const char *name;
};

class FailingCollectors : public UnloadedTest,
			  public ::testing::WithParamInterface<FailingCollector> {};

TEST_P(FailingCollectors, end_in_ENOMEM_and_leave_what_came_before)
{
	kernel.faults.fail(GetParam().call, GetParam().nth);
	EXPECT_EQ(module.load(), -ENOMEM);
	EXPECT_EQ(log(), GetParam().log);
	EXPECT_THAT(kernel.left_hooks, SizeIs(GetParam().hooks));
	EXPECT_THAT(kernel.left_in_proc, SizeIs(GetParam().proc_entries));
	EXPECT_THAT(kernel.left_in_sysfs, IsEmpty());
	EXPECT_EQ(kernel.left_listener, GetParam().listens);
	kernel.check_leftovers();
	EXPECT_THAT(kernel.problems.take(), IsEmpty());

	load();
	push("second load");
	EXPECT_THAT(drained_payloads(), ElementsAre("second load"));
}

namespace {

/* Returns the messages of a start-up that fails. */
LogLines up_to(size_t collectors, const LogLines &failure)
{
	LogLines lines{sim::info("kioind_init done"),
		       sim::info("proc_sched_metrics_init Success!\n"),
		       sim::info("proc_svp_metrics_init Success!\n"),
		       sim::info("proc_load_metrics_init Success!\n"),
		       sim::info("root 1\n"),
		       sim::info("proc_cgroup_metrics_init Success!\n")};
	lines.resize(collectors, sim::info(""));
	lines.insert(lines.end(), failure.begin(), failure.end());
	return lines;
}

} /* namespace */

INSTANTIATE_TEST_SUITE_P(
	StartUp, FailingCollectors,
	::testing::Values(
		FailingCollector{
			"kobject_create_and_add", 1,
			up_to(0, {sim::crit("kioind_init(622), kobject_create_and_add() failed."),
				  sim::crit("zem_init: kioind_init fail \n")}),
			6, 3, false, "io_kobject"},
		FailingCollector{"sysfs_create_group", 1,
				 up_to(0,
				       {sim::crit("kioind_init(627), sysfs_create_group() failed."),
					sim::crit("zem_init: kioind_init fail \n")}),
				 6, 3, false, "io_files"},
		FailingCollector{"proc_mkdir", 2,
				 up_to(1, {sim::err("Error in proc_sched_metrics_init!\n"),
					   sim::crit("zem_init: sched_metrics_init fail\n")}),
				 8, 3, false, "sched"},
		FailingCollector{"proc_mkdir", 3,
				 up_to(2, {sim::err("Error in proc_svp_metrics_init!\n"),
					   sim::crit("zem_init: svp_metrics_init fail\n")}),
				 10, 21, false, "svp"},
		FailingCollector{"proc_mkdir", 4,
				 up_to(3, {sim::err("Error in proc_load_metrics_init!\n"),
					   sim::crit("zem_init: load_metrics_init fail\n")}),
				 10, 24, true, "load"},
		FailingCollector{"kzalloc", 1,
				 up_to(6, {sim::crit("zem_init: cgroup_metrics_init fail\n")}), 13,
				 35, true, "cgroup_first"},
		FailingCollector{"kzalloc", 2,
				 up_to(6, {sim::crit("zem_init: cgroup_metrics_init fail\n")}), 13,
				 35, true, "cgroup_second"}),
	[](const auto &info) { return std::string(info.param.name); });

struct FailingFile {
	const char *call;
	unsigned int nth;
	const char *name;
};

class FailingFiles : public UnloadedTest, public ::testing::WithParamInterface<FailingFile> {};

/* The kernel warns about the removal of a missing file. */
TEST_P(FailingFiles, are_missing_and_not_taken_away)
{
	kernel.faults.fail(GetParam().call, GetParam().nth);
	load();
	EXPECT_FALSE(kernel.proc.exists(GetParam().name));
	unload();
	EXPECT_THAT(kernel.problems.take(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
	StartUp, FailingFiles,
	::testing::Values(
		FailingFile{"proc_create_data", 3, "sched_metrics/sched_metrics_enabled"},
		FailingFile{"proc_create_single_data", 1,
			    "sched_metrics/sched_metrics_irqtime_total"},
		FailingFile{"proc_create_data", 4, "svp_metrics/svp_metrics_enabled"},
		FailingFile{"proc_create_seq_private", 1, "svp_metrics/svp_metrics"},
		FailingFile{"proc_create_data", 10, "cgroup_metrics/cgroup_metrics_enabled"},
		FailingFile{"proc_create_single_data", 17, "cgroup_metrics/cgroup_metrics"}),
	[](const auto &info) {
		const std::string name = info.param.name;
		return name.substr(name.find('/') + 1) + "_" + std::to_string(info.param.nth);
	});

TEST_F(StartUp, collectors_start_before_the_node)
{
	std::vector<std::string> hooks;
	kernel.faults.at("kobject_create_and_add", [&] { hooks = kernel.hooks.attached(); }, 2);
	load();
	EXPECT_THAT(hooks, SizeIs(13));
}

/* The registration of the device is the last step that can fail. */
TEST_F(StartUp, attaches_restricted_probes_when_nothing_can_fail_any_more)
{
	std::vector<std::string> before;
	kernel.faults.at("misc_register", [&] { before = kernel.hooks.attached(); });
	load();
	EXPECT_THAT(before, Each(Not(StartsWith("rvh_"))));
	EXPECT_THAT(kernel.hooks.attached(),
		    IsSupersetOf({"rvh_sched_info_dequeued", "rvh_sched_info_arrive",
				  "rvh_irqtime_account_hardirq"}));
}

/* The provider is called by the priming pass. */
TEST_F(StartUp, attaches_all_probes_before_the_first_baseline)
{
	static std::function<size_t()> attached;
	static size_t during;
	using Provider = void *(*)();
	attached = [this] {
		return kernel.hooks.attached().size();
	};
	kernel.faults.at("ring_buffer_alloc", [this] {
		*module.symbol<Provider>("get_all_kmemind_func") = []() -> void * {
			during = attached();
			return nullptr;
		};
	});
	load();
	EXPECT_EQ(during, 16U);
}

TEST_F(StartUp, succeeds_if_restricted_hooks_have_other_probes)
{
	for (unsigned int nth = 1; nth <= 3; nth++)
		kernel.faults.fail("android_rvh_probe_register", nth);
	load();
	EXPECT_THAT(kernel.hooks.attached(), SizeIs(13));
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	module.unload();
}

TEST_F(StartUp, files_are_withdrawn_before_the_buffers_behind_them_are_freed)
{
	kernel.faults.fail("kthread_create");
	size_t buffers = 0;
	size_t allocations = 0;
	kernel.faults.at("sysfs_remove_group", [&] {
		buffers = kernel.ring_buffers.count();
		allocations = kernel.slab.allocations();
	});
	EXPECT_EQ(module.load(), -ENOMEM);
	expect_collectors_started();
	EXPECT_EQ(buffers, 1U);
	EXPECT_EQ(allocations, 1U + kSnapshots);
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

TEST_F(StartUp, failure_waits_for_a_user_of_the_files)
{
	/* A reader opens the device during its registration, and is delayed in the open. */
	std::unique_ptr<sim::Thread> reader;
	kernel.faults.fail("misc_register");
	kernel.faults.at("misc_register", [&] {
		kernel.faults.at("complete", [&] { kernel.run_for(100); });
		reader = std::make_unique<sim::Thread>(kernel.spawn("reader", [&] {
			EXPECT_EQ(show("trace"), "");
			EXPECT_EQ(kernel.ring_buffers.count(), 1U);
		}));
		kernel.run_until_idle();
	});
	EXPECT_EQ(module.load(), -ENOMEM);
	expect_collectors_started();
	EXPECT_TRUE(reader->ended());
	EXPECT_EQ(kernel.clock.ticks(), 100U);
	EXPECT_EQ(log(), LogLines({sim::err("failed to create zem share device\n")}));
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

/* sysfs removes the files that it created, but a writer may have used one before. */
TEST_F(StartUp, failing_in_its_files_ends_a_collector_that_was_started_with_the_first_of_them)
{
	kernel.faults.at(
		"sysfs_create_group",
		[this] {
			kernel.sysfs.fail_after_visible([this] {
				EXPECT_EQ(store("trace_on", "0"), 1);
				EXPECT_EQ(store("trace_on", "1"), 1);
			});
		},
		2);
	EXPECT_EQ(module.load(), -ENOMEM);
	EXPECT_THAT(kernel.scheduler.unfinished(), IsEmpty());
	expect_collectors_started();
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n"),
				   sim::crit("zem_init:sysfs_create_group failed\n")}));
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

TEST_F(StartUp, failing_makes_no_device_public)
{
	kernel.faults.at("kthread_create",
			 [this] { EXPECT_EQ(kernel.misc.open("zem_shared"), -ENOENT); });
	kernel.faults.fail("kthread_create");
	EXPECT_EQ(module.load(), -ENOMEM);
	expect_collectors_started();
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

TEST_F(StartUp, consumer_does_not_run_before_the_device_is_registered)
{
	kernel.faults.at("misc_register", [this] {
		EXPECT_THAT(kernel.scheduler.unfinished(), ElementsAre("rb_consumer"));
		push("early");
		kernel.run_until_idle();
		EXPECT_EQ(kernel.ring_buffers.statistics().reads, 0U);
	});
	load();
	EXPECT_THAT(drained_payloads(), ElementsAre("early"));
}

/* The hook stays attached, so an event may be on its way into the ring buffer. */
TEST_F(StartUp, failing_waits_for_a_usb_event_before_it_frees_the_ring_buffer)
{
	usb_device device;
	kernel.faults.fail("misc_register");
	kernel.faults.at("ring_buffer_free", [&] { kernel.hooks.usb_zem_set(&device, 0); });
	bool waited = false;
	kernel.faults.at("tracepoint_synchronize_unregister", [&] {
		waited = true;
		EXPECT_EQ(kernel.ring_buffers.count(), 1U);
	});
	EXPECT_EQ(module.load(), -ENOMEM);
	EXPECT_TRUE(waited);
	expect_collectors_started();
	EXPECT_EQ(log(), LogLines({sim::err("failed to create zem share device\n"),
				   sim::err("get ringbuffer fail event_len:264\n")}));
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

TEST_F(StartUp, failing_waits_for_the_interrupt_that_a_usb_event_has_raised)
{
	usb_device device;
	kernel.faults.fail("misc_register");
	kernel.faults.at("kthread_create", [&] {
		kernel.irq_works.hold();
		kernel.interrupt([&] { kernel.hooks.usb_zem_set(&device, 0); });
		EXPECT_EQ(kernel.irq_works.pending(), 1U);
	});
	kernel.faults.at("ring_buffer_free", [&] { EXPECT_EQ(kernel.irq_works.pending(), 0U); });
	EXPECT_EQ(module.load(), -ENOMEM);
	expect_collectors_started();
	EXPECT_EQ(log(), LogLines({sim::err("failed to create zem share device\n")}));
	EXPECT_EQ(kernel.slab.free_all(), kSnapshots);
}

TEST_F(StartUp, files_work_from_the_moment_they_appear)
{
	kernel.faults.at("ring_buffer_alloc", [this] {
		EXPECT_EQ(show("usb"), "");
		EXPECT_EQ(store("trace_on", "0"), 1);
		EXPECT_EQ(store("test", "quiet"), 5);
		EXPECT_EQ(store("trace_on", "1"), 1);
		EXPECT_EQ(store("test", "none"), 4);
		EXPECT_EQ(store("trigger", "5"), 1);
		EXPECT_EQ(show("rb_size"), "0\n");
	});
	load();
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n"),
				   sim::err("get ringbuffer fail event_len:36\n"),
				   sim::info("kioind_save_dev "),
				   sim::err("get ringbuffer fail event_len:3968\n"),
				   sim::err("get ringbuffer fail event_len:528\n"),
				   sim::err("get ringbuffer fail event_len:72\n")}));
}

TEST_F(StartUp, setter_without_a_ring_buffer_logs_a_failed_reservation)
{
	kernel.faults.at("kobject_create_and_add", [this] { push("early", "battery"); }, 2);
	load();
	EXPECT_EQ(log(), LogLines({sim::err("get ringbuffer fail event_len:37\n")}));
}

TEST_F(StartUp, record_pushed_before_its_end_has_train_number_0)
{
	kernel.faults.at("misc_register", [this] { push("early"); });
	load();
	push("late");
	kernel.run_until_idle();
	ASSERT_THAT(records(), SizeIs(2));
	EXPECT_EQ(records()[0].header.train_number, 0U);
	EXPECT_EQ(records()[1].header.train_number, 1U);
}

TEST_F(StartUp, priming_calls_the_kmem_provider_once_and_uploads_and_clears_nothing)
{
	static std::string block;
	static int calls;
	block.assign(sizeof(zem_kmem), 'k');
	calls = 0;
	using Provider = void *(*)();
	kernel.faults.at("ring_buffer_alloc", [this] {
		*module.symbol<Provider>("get_all_kmemind_func") = [] {
			calls++;
			return static_cast<void *>(block.data());
		};
	});
	load();
	EXPECT_EQ(calls, 1);
	EXPECT_EQ(block, std::string(sizeof(zem_kmem), 'k'));
	EXPECT_THAT(drained_payloads(), IsEmpty());
}

TEST_F(StartUp, priming_pass_still_has_train_number_0)
{
	using Provider = void *(*)();
	static std::function<void()> provide;
	provide = [this] {
		push("of the provider");
	};
	kernel.faults.at("ring_buffer_alloc", [this] {
		*module.symbol<Provider>("get_all_kmemind_func") = []() -> void * {
			provide();
			return nullptr;
		};
	});
	load();
	kernel.run_until_idle();
	ASSERT_THAT(records(), SizeIs(1));
	EXPECT_EQ(records()[0].header.train_number, 0U);
}

TEST_F(StartUp, second_load_begins_with_initial_values)
{
	load();
	store("kmemind_interval", "77");
	store("trigger", "9");
	unload();
	load();
	EXPECT_EQ(show("kmemind_interval"), "1\n");
	push("fresh");
	kernel.run_until_idle();
	EXPECT_EQ(records().at(0).header.train_number, 1U);
}

TEST_F(StartUp, leaves_the_module_free_to_be_unloaded)
{
	load();
	EXPECT_EQ(module.pins(), 0);
}

class StartUpOnADevice : public UnloadedTest {
protected:
	StartUpOnADevice() : UnloadedTest({.vendor_hooks_stay_attached = true}) {}
};

TEST_F(StartUpOnADevice, pins_the_module_whose_probes_nothing_can_detach)
{
	load();
	EXPECT_EQ(module.pins(), 1);
}

TEST_F(StartUpOnADevice, pins_the_module_before_user_space_can_unload_it)
{
	/* The priming pass runs the provider. */
	static std::function<int()> pins;
	static int during;
	using Provider = void *(*)();
	pins = [this] {
		return module.pins();
	};
	kernel.faults.at("ring_buffer_alloc", [this] {
		*module.symbol<Provider>("get_all_kmemind_func") = []() -> void * {
			during = pins();
			return nullptr;
		};
	});
	load();
	EXPECT_EQ(during, 1);
}

struct FailingCall {
	const char *call;
	unsigned int nth;
};

class FailuresOnADevice : public StartUpOnADevice,
			  public ::testing::WithParamInterface<FailingCall> {};

/* A restricted probe in freed code would end the machine. */
TEST_P(FailuresOnADevice, leave_no_restricted_probe_and_no_pin)
{
	kernel.faults.fail(GetParam().call, GetParam().nth);
	EXPECT_EQ(module.load(), -ENOMEM);
	EXPECT_THAT(kernel.left_hooks, Each(Not(StartsWith("rvh_"))));
	EXPECT_EQ(module.pins(), 0);
	EXPECT_THAT(log(), Not(IsEmpty()));
	kernel.slab.free_all();
}

INSTANTIATE_TEST_SUITE_P(
	StartUp, FailuresOnADevice,
	::testing::Values(FailingCall{"kobject_create_and_add", 1},
			  FailingCall{"sysfs_create_group", 1}, FailingCall{"proc_mkdir", 2},
			  FailingCall{"proc_mkdir", 3}, FailingCall{"proc_mkdir", 4},
			  FailingCall{"kzalloc", 1}, FailingCall{"kzalloc", 2},
			  FailingCall{"kobject_create_and_add", 2},
			  FailingCall{"sysfs_create_group", 2}, FailingCall{"ring_buffer_alloc", 1},
			  FailingCall{"kzalloc", 1 + kSnapshots}, FailingCall{"kthread_create", 1},
			  FailingCall{"misc_register", 1}),
	[](const auto &info) {
		return std::string(info.param.call) + "_" + std::to_string(info.param.nth);
	});

TEST_F(ShutDown, waits_for_one_more_record)
{
	kernel.run_until_idle();
	sim::Thread producer = kernel.spawn("producer", [this] {
		kernel.run_for(10000);
		push("at last");
	});
	module.unload();
	EXPECT_EQ(kernel.clock.ticks(), 10000U);
}

TEST_F(ShutDown, gives_the_last_signal_its_pass)
{
	kernel.run_until_idle();
	kernel.faults.at("kthread_stop", [this] { push("last"); });
	kernel.faults.at("sysfs_remove_group",
			 [this] { EXPECT_THAT(payloads(records()), ElementsAre("last")); });
	module.unload();
}

TEST_F(ShutDown, right_after_load_ends_a_consumer_that_never_ran)
{
	module.unload();
	EXPECT_EQ(kernel.clock.ticks(), 0U);
}

TEST_F(ShutDown, waits_for_the_consumer_to_give_up_on_a_reader)
{
	push_sized(4000);
	push_sized(3937);
	kernel.run_until_idle();
	ASSERT_EQ(notifications(), 1U);
	module.unload();
	EXPECT_EQ(kernel.clock.ticks(), kCycle);
	EXPECT_EQ(log(), LogLines({sim::info("read data timeout\n")}));
}

TEST_F(ShutDown, ends_a_running_collector)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_for(kSecond);
	EXPECT_THAT(kernel.scheduler.unfinished(),
		    ElementsAre("rb_consumer", "ts_timer_getdata_thread"));
	unload();
	EXPECT_THAT(kernel.scheduler.unfinished(), IsEmpty());
	EXPECT_EQ(log(),
		  LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n")}));
}

TEST_F(ShutDown, waits_for_a_writer_that_is_stopping_the_collector)
{
	store("trace_on", "0");
	store("trace_on", "1");
	kernel.run_for(kSecond);
	std::unique_ptr<sim::Thread> writer;
	kernel.faults.at("sysfs_remove_group", [&] {
		writer = std::make_unique<sim::Thread>(
			kernel.spawn("writer", [this] { EXPECT_EQ(store("trace_on", "0"), 1); }));
		kernel.run_until_idle();
		EXPECT_FALSE(writer->ended());
	});
	unload();
	EXPECT_TRUE(writer->ended());
	EXPECT_EQ(log(), LogLines({sim::info("trace_on disable\n"), sim::info("trace_on enable\n"),
				   sim::info("trace_on disable\n")}));
}

TEST_F(ShutDown, lets_no_new_usb_event_into_the_ring_buffer_and_waits_for_those_inside)
{
	usb_device device;
	kernel.faults.at("tracepoint_synchronize_unregister", [&] {
		EXPECT_EQ(kernel.ring_buffers.count(), 1U);
		kernel.hooks.usb_zem_set(&device, 0);
	});
	kernel.faults.at("ring_buffer_free", [&] { kernel.hooks.usb_zem_set(&device, 0); });
	unload();
	EXPECT_EQ(log(), LogLines(2, sim::err("get ringbuffer fail event_len:264\n")));
}

/* The interrupt that woke the consumer last may not have returned from the module's code. */
TEST_F(ShutDown, waits_for_the_interrupt_that_wakes_the_consumer)
{
	bool waited = false;
	kernel.faults.at("irq_work_sync", [&] {
		waited = true;
		EXPECT_THAT(kernel.misc.names(), IsEmpty());
		EXPECT_EQ(kernel.ring_buffers.count(), 1U);
	});
	kernel.faults.at("ring_buffer_free", [&] { EXPECT_TRUE(waited); });
	unload();
	EXPECT_TRUE(waited);
}

TEST_F(ShutDown, withdraws_the_files_before_it_frees_what_is_behind)
{
	size_t buffers = 0;
	kernel.faults.at("sysfs_remove_group", [&] { buffers = kernel.ring_buffers.count(); });
	unload();
	EXPECT_EQ(buffers, 1U);
	EXPECT_EQ(kernel.sysfs.read("zem/trace").result, -ENOENT);
	EXPECT_EQ(kernel.misc.open("zem_shared"), -ENOENT);
}

TEST_F(ShutDown, takes_the_collectors_down_last_and_in_order)
{
	kernel.faults.at("proc_remove", [&] {
		EXPECT_FALSE(kernel.sysfs.exists("zem"));
		EXPECT_FALSE(kernel.sysfs.exists("kioind"));
		EXPECT_THAT(kernel.misc.names(), IsEmpty());
		EXPECT_EQ(kernel.ring_buffers.count(), 0U);
		EXPECT_THAT(kernel.proc.list("sched_metrics"), SizeIs(17));
		EXPECT_THAT(kernel.proc.list("svp_metrics"), SizeIs(2));
	});
	kernel.faults.at(
		"proc_remove",
		[&] {
			EXPECT_THAT(kernel.proc.list("sched_metrics"), IsEmpty());
			EXPECT_THAT(kernel.proc.list("svp_metrics"), SizeIs(2));
		},
		18);
	kernel.faults.at("tracepoint_probe_unregister", [&] {
		EXPECT_THAT(kernel.proc.list("svp_metrics"), IsEmpty());
		EXPECT_THAT(kernel.hooks.attached(), SizeIs(16));
		EXPECT_TRUE(kernel.load.has_listener());
	});
	kernel.faults.at("unregister_load_stat_proc_runtime", [&] {
		EXPECT_THAT(kernel.hooks.attached(), SizeIs(14));
		EXPECT_THAT(kernel.proc.list("load_metrics"), SizeIs(4));
		EXPECT_THAT(kernel.proc.list("cgroup_metrics"), SizeIs(2));
	});
	/* The files of the groups are removed before their data. The consumer's wake-up is waited
	 * for first. */
	kernel.faults.at(
		"irq_work_sync",
		[&] {
			EXPECT_FALSE(kernel.load.has_listener());
			EXPECT_THAT(kernel.proc.list("load_metrics"), SizeIs(1));
			EXPECT_THAT(kernel.proc.list("cgroup_metrics"), IsEmpty());
			EXPECT_THAT(kernel.proc.list("morva_sched_healthinfo"), SizeIs(2));
			EXPECT_THAT(kernel.hooks.attached(), SizeIs(12));
		},
		2);
	unload();
}

TEST_F(ShutDown, wakes_pollers)
{
	bool woken = false;
	sim::Thread poller =
		kernel.spawn("poller", [&] { woken = kernel.sysfs.poll("zem/trace").wait(); });
	kernel.run_until_idle();
	unload();
	poller.join();
	EXPECT_TRUE(woken);
}

} /* namespace test */
