// SPDX-License-Identifier: GPL-2.0
/*
 * The program as a user runs it, with a folder of plain files instead of /sys/zem and a file
 * instead of /dev/zem_shared: texts, exit statuses, bytes written.
 */
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "command_fixture.h"

namespace zemctl {

namespace {

const ByteVector kHello = made_record(ZEM_CHANNEL_TEST, "hello", 1'700'000'000'000'000'000);
const ByteVector kBye = made_record(ZEM_CHANNEL_WIFI, "bye", 1'700'000'001'000'000'000);

constexpr std::string_view kHelloLine =
	"2023-11-14 22:13:20.000000  test           0       1     5  \"hello\"\n";
constexpr std::string_view kByeLine =
	"2023-11-14 22:13:21.000000  wifi           0       1     3  \"bye\"\n";

} // namespace

TEST_F(CommandTest, status_says_what_the_settings_mean)
{
	put("zem/kioind_interval", "3\n");
	put("zem/display_interval", "11\n");
	const Result result = run("status");
	EXPECT_EQ(result.out,
		  "trace        on\n"
		  "collector    unknown: no thread of the kernel is visible\n"
		  "kmem         every cycle (5 s)\n"
		  "kio          every 3 cycles (15 s)\n"
		  "sched        every cycle (5 s)\n"
		  "svp          every cycle (5 s)\n"
		  "load         every cycle (5 s)\n"
		  "cgroup       off\n"
		  "display      11 s: every 3 cycles (15 s)\n"
		  "kgsl         1 (nothing reads it)\n"
		  "rb size      8192 bytes per CPU\n"
		  "device       shared: ready\n"
		  "pushed       0 records\n"
		  "lost         0 records: 0 overwritten, 0 refused, 0 too large, 0 dropped\n"
		  "unanswered   0 notifications\n"
		  "empty passes 0\n"
		  "turned away  0 UIDs, 0 SVP tasks\n");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
}

TEST_F(CommandTest, status_shows_whether_the_collector_runs)
{
	const auto line = [this] {
		const std::string text = run("status").out;
		const std::size_t start = text.find("collector");
		return text.substr(start, text.find('\n', start) - start);
	};
	const auto json = [this] {
		return nlohmann::json::parse(run("status --json").out)["collector"];
	};
	EXPECT_EQ(json(), nullptr);
	put("proc/2/comm", "kthreadd\n");
	EXPECT_EQ(line(), "collector    not running: switch trace off and on");
	EXPECT_EQ(json(), false);
	put("zem/trace_on", "0\n");
	EXPECT_EQ(line(), "collector    not running");
	put("proc/77/comm", "ts_timer_getdat\n");
	EXPECT_EQ(line(), "collector    running") << "an old kernel cuts the name off";
	put("proc/77/comm", "ts_timer_getdata\n");
	EXPECT_EQ(line(), "collector    not running") << "another name";
	put("proc/77/comm", "ts_timer_getdata_thread\n");
	EXPECT_EQ(line(), "collector    running");
	EXPECT_EQ(json(), true);
}

TEST_F(CommandTest, status_without_the_device_says_why)
{
	fs::remove(root / "shared");
	const Result result = run("status");
	EXPECT_NE(result.out.find("device       shared: No such file or directory\n"),
		  std::string::npos);
	EXPECT_EQ(result.status, 0);
}

TEST_F(CommandTest, status_as_json)
{
	const auto status = nlohmann::json::parse(run("status --json").out);
	EXPECT_EQ(status["trace"], true);
	EXPECT_EQ(status["intervals"].size(), 8u);
	EXPECT_EQ(status["intervals"]["kmem"],
		  nlohmann::json::parse(R"({"setting":1,"unit":"cycles","period_ms":5000})"));
	EXPECT_EQ(status["intervals"]["display"]["period_ms"], 10000);
	EXPECT_EQ(status["intervals"]["kgsl"]["unit"], nullptr);
	EXPECT_EQ(status["intervals"]["kgsl"]["period_ms"], nullptr);
	EXPECT_EQ(status["rb_size_bytes"], 8192);
	EXPECT_EQ(status["device"]["ready"], true);
}

TEST_F(CommandTest, a_module_that_is_not_loaded_is_said_by_every_command)
{
	fs::remove_all(root / "zem");
	for (const char *command :
	     {"status", "set trace on", "set interval kmem 1", "set rb-size 4096", "trigger 1",
	      "send test x", "watch", "record -o capture"}) {
		const Result result = run(command);
		EXPECT_EQ(result.err, "zemctl: zem: not there: the zem module is not loaded\n")
			<< command;
		EXPECT_EQ(result.status, 1) << command;
	}
	EXPECT_FALSE(fs::exists(root / "capture"));
}

TEST_F(CommandTest, set_writes_the_number)
{
	EXPECT_EQ(run("set trace off").status, 0);
	EXPECT_EQ(get("zem/trace_on"), "0\n");
	EXPECT_EQ(run("set interval kio 10000").status, 0);
	EXPECT_EQ(get("zem/kioind_interval"), "10000\n");
	EXPECT_EQ(run("set interval cgroup 0").status, 0);
	EXPECT_EQ(get("zem/cgroup_interval"), "0\n");
	EXPECT_EQ(run("set rb-size 1048576").status, 0);
	EXPECT_EQ(get("zem/rb_size"), "1048576\n");
	EXPECT_EQ(run("trigger 42").status, 0);
	EXPECT_EQ(get("zem/trigger"), "42\n");
	EXPECT_EQ(run("trigger -2147483648").status, 0);
	EXPECT_EQ(get("zem/trigger"), "-2147483648\n");
}

TEST_F(CommandTest, trace_on_twice_explains_that_no_collector_starts)
{
	const Result again = run("set trace on");
	EXPECT_NE(again.err.find("trace was on already"), std::string::npos);
	EXPECT_EQ(again.status, 0);
	put("zem/trace_on", "0\n");
	EXPECT_EQ(run("set trace on").err, "");
	EXPECT_EQ(get("zem/trace_on"), "1\n");
}

TEST_F(CommandTest, what_is_out_of_range_never_reaches_the_kernel)
{
	const Result interval = run("set interval svp 10001");
	EXPECT_EQ(interval.err, "zemctl: interval of svp: 10001 is not within 0-10000\n");
	EXPECT_EQ(interval.status, 2);
	EXPECT_EQ(run("set interval svp -1").err,
		  "zemctl: interval of svp: -1 is not within 0-10000\n");
	EXPECT_EQ(get("zem/svp_interval"), "1\n");
	EXPECT_EQ(run("set rb-size 4095").err,
		  "zemctl: ring buffer size: 4095 is not within 4096-1048576\n");
	EXPECT_EQ(run("set rb-size 1048577").status, 2);
	EXPECT_EQ(get("zem/rb_size"), "8192\n");
	EXPECT_EQ(run("trigger 2147483648").status, 2);
	EXPECT_EQ(get("zem/trigger"), "");
}

TEST_F(CommandTest, what_the_kernel_refuses_is_named_with_file_and_reason)
{
	fs::remove(root / "zem/kmemind_interval");
	fs::create_symlink("/dev/full", root / "zem/kmemind_interval");
	const Result result = run("set interval kmem 1");
	EXPECT_EQ(result.err, "zemctl: zem/kmemind_interval: No space left on device\n");
	EXPECT_EQ(result.status, 1);
}

TEST_F(CommandTest, a_resize_that_only_the_kernels_log_knows_of_is_noticed)
{
	fs::remove(root / "zem/rb_size");
	fs::create_symlink("/dev/null", root / "zem/rb_size");
	EXPECT_EQ(run("set rb-size 65536").status, 1);
}

TEST_F(CommandTest, usage_errors_have_status_2)
{
	for (const char *arguments :
	     {"", "frobnicate", "status extra", "set", "set trace maybe", "set interval foo 1",
	      "set interval kmem", "set interval kmem five", "set interval kmem 5x", "trigger",
	      "trigger abc", "send nowhere x", "send test x --file y", "watch --channel nowhere",
	      "watch --seconds 0", "watch --records -1", "watch --json --full", "record", "dump"}) {
		const Result result = run(arguments);
		EXPECT_EQ(result.status, 2) << arguments << ": " << result.err;
		EXPECT_NE(result.err, "") << arguments;
	}
}

TEST_F(CommandTest, help_and_version_have_status_0)
{
	EXPECT_EQ(run("--version").out, "zemctl " ZEMCTL_VERSION "\n");
	EXPECT_EQ(run("--version").status, 0);
	EXPECT_EQ(run("--help").status, 0);
	EXPECT_EQ(run("watch --help").status, 0);
}

TEST_F(CommandTest, send_writes_exactly_the_bytes)
{
	EXPECT_EQ(run("send wifi 'some text'").status, 0);
	EXPECT_EQ(get("zem/wifi"), "some text");
	EXPECT_EQ(shell("printf 'a\\n\\000b' | $zemctl send gpu").status, 0);
	EXPECT_EQ(get("zem/gpu"), std::string("a\n\0b", 4));
	EXPECT_EQ(shell("printf dash | $zemctl send gpu -").status, 0);
	EXPECT_EQ(get("zem/gpu"), "dash");
	put("payload", std::string(479, 'p'));
	EXPECT_EQ(run("send fs --file payload").status, 0);
	EXPECT_EQ(get("zem/fs"), std::string(479, 'p'));
}

TEST_F(CommandTest, send_refuses_what_no_record_takes)
{
	put("payload", std::string(480, 'p'));
	const Result long_one = run("send fs --file payload");
	EXPECT_EQ(long_one.err, "zemctl: send: the payload is longer than 479 bytes\n");
	EXPECT_EQ(long_one.status, 2);
	EXPECT_EQ(get("zem/fs"), "");
	const Result empty = run("send fs ''");
	EXPECT_EQ(empty.err, "zemctl: send: nothing to send, a record needs at least 1 byte\n");
	EXPECT_EQ(empty.status, 2);
	EXPECT_EQ(run("send fs --file nowhere").err,
		  "zemctl: nowhere: No such file or directory\n");
}

TEST_F(CommandTest, send_says_that_the_trace_is_off)
{
	put("zem/trace_on", "0\n");
	const Result result = run("send test x");
	EXPECT_EQ(result.err, "zemctl: trace is off: the module dropped the record\n");
	EXPECT_EQ(result.status, 0);
}

TEST_F(CommandTest, watch_shows_what_is_there_and_sums_up)
{
	show_records(kHello + kBye);
	const Result result = run("watch --records 2");
	EXPECT_EQ(result.out, std::string(kHeading).append(kHelloLine).append(kByeLine));
	EXPECT_EQ(result.err.find("2 records, 72 bytes, 0 lost, 0 gaps in "), 0u) << result.err;
	EXPECT_EQ(result.status, 0);
}

TEST_F(CommandTest, watch_shows_the_heading_before_any_record)
{
	const Result result = shell("$zemctl watch --utc >shown & pid=$!; tries=0\n"
				    "until [ -s shown ] || [ $tries = 1000 ]; do\n"
				    "	sleep 0.05; tries=$((tries + 1))\n"
				    "done\n"
				    "kill -KILL $pid; cat shown");
	EXPECT_EQ(result.out, kHeading);
}

TEST_F(CommandTest, watch_shows_one_channel_when_asked)
{
	show_records(kHello + kBye);
	const Result result = run("watch --channel wifi svp --records 1");
	EXPECT_EQ(result.out, std::string(kHeading).append(kByeLine));
	EXPECT_NE(result.err.find("1 records kept, 1 left out as asked\n"), std::string::npos);
}

TEST_F(CommandTest, watch_as_json_has_one_object_a_line)
{
	show_records(kHello + kBye);
	const auto objects = objects_of(run("watch --json --records 2").out);
	ASSERT_EQ(objects.size(), 4u);
	EXPECT_EQ(objects[0]["type"], "header");
	EXPECT_EQ(objects[0]["schema"], "zemctl.records");
	EXPECT_EQ(objects[0]["schema_version"], 1);
	EXPECT_EQ(objects[0]["source"], "device");
	EXPECT_EQ(objects[1]["payload_text"], "hello");
	EXPECT_EQ(objects[2]["payload_text"], "bye");
	EXPECT_EQ(objects[3],
		  nlohmann::json({{"type", "end"}, {"reason", "limit"}, {"records", 2}}));
}

TEST_F(CommandTest, watch_as_json_has_a_loss_in_its_place)
{
	show_records(kHello + made_record(99, "?"));
	const auto objects = objects_of(run("watch --json --records 1").out);
	ASSERT_EQ(objects.size(), 4u);
	EXPECT_EQ(objects[1]["payload_text"], "hello");
	EXPECT_EQ(objects[2],
		  nlohmann::json({{"type", "gap"}, {"lost_bytes", 33}, {"lost_records", nullptr}}));
	EXPECT_EQ(objects[3],
		  nlohmann::json({{"type", "end"}, {"reason", "limit"}, {"records", 1}}));
}

TEST_F(CommandTest, watch_ends_after_its_seconds)
{
	const Result result = run("watch --seconds 0.1");
	EXPECT_EQ(result.out, kHeading);
	EXPECT_EQ(result.err.find("0 records, 0 bytes, 0 lost, 0 gaps in "), 0u) << result.err;
	EXPECT_EQ(result.status, 0);
}

TEST_F(CommandTest, strict_makes_a_loss_a_failure)
{
	show_records(kHello + made_record(99, "?"));
	EXPECT_EQ(run("watch --records 1").status, 0);
	const Result result = run("watch --records 1 --strict");
	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.err.find("zemctl: gap: 33 bytes skipped: byte 37: channel 99 does not "
				  "exist\n"),
		  0u)
		<< result.err;
}

TEST_F(CommandTest, an_interrupt_ends_watch_in_order)
{
	show_records(kHello);
	const Result result = shell("$zemctl watch >shown & pid=$!\n"
				    "until grep -q hello shown; do sleep 0.02; done\n"
				    "kill -INT $pid; wait $pid");
	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.err.find(" records, "), std::string::npos) << result.err;
}

TEST_F(CommandTest, a_lost_reader_ends_watch_quietly)
{
	show_records(kHello);
	const Result result = shell("{ $zemctl watch; echo $? >status; } | head -n 1");
	EXPECT_EQ(result.out, kHeading);
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(get("status"), "0\n");
}

TEST_F(CommandTest, what_was_recorded_is_dumped)
{
	show_records(kHello + kBye);
	const Result recorded = run("record -o capture --records 2");
	EXPECT_EQ(recorded.status, 0) << recorded.err;
	EXPECT_EQ(recorded.out, "");
	const Result dumped = run("dump capture");
	EXPECT_EQ(dumped.out, std::string(kHeading).append(kHelloLine).append(kByeLine));
	EXPECT_EQ(dumped.err, "");
	EXPECT_EQ(dumped.status, 0);
	EXPECT_EQ(shell("$zemctl dump - <capture").out, dumped.out);
	EXPECT_EQ(run("dump --channel test capture").out, std::string(kHeading).append(kHelloLine));
}

TEST_F(CommandTest, a_capture_passes_through_a_pipe)
{
	show_records(kHello);
	EXPECT_EQ(shell("$zemctl record -o - --records 1 | $zemctl dump -").out,
		  std::string(kHeading).append(kHelloLine));
}

TEST_F(CommandTest, dump_with_hex)
{
	show_records(kHello);
	run("record -o capture --records 1");
	EXPECT_EQ(run("dump --hex capture").out,
		  std::string(kHeading)
			  .append(kHelloLine)
			  .append("    0000  68 65 6c 6c 6f                                    "
				  "|hello|\n"));
}

TEST_F(CommandTest, dump_reports_a_loss_while_recording)
{
	show_records(kHello + made_record(99, "?"));
	run("record -o capture --records 1");
	const Result result = run("dump capture");
	EXPECT_EQ(result.out, std::string(kHeading).append(kHelloLine));
	EXPECT_EQ(result.err, "zemctl: gap: 33 bytes were lost here\n");
}

TEST_F(CommandTest, dump_as_json_has_the_loss_and_the_end_of_the_capture)
{
	show_records(kHello + made_record(99, "?"));
	run("record -o capture --records 1");
	const std::string dumped = run("dump --json capture").out;
	const auto objects = objects_of(dumped);
	EXPECT_EQ(objects.front()["source"], "capture");
	EXPECT_EQ(objects_of(dumped, "record").size(), 1u);
	ASSERT_EQ(objects_of(dumped, "gap").size(), 1u);
	EXPECT_EQ(objects_of(dumped, "gap")[0]["lost_bytes"], 33);
	EXPECT_EQ(objects.back(),
		  nlohmann::json({{"type", "end"}, {"reason", "finished"}, {"records", 1}}));
	const std::string whole = get("capture");
	put("capture", whole.substr(0, whole.size() - 1));
	EXPECT_EQ(objects_of(run("dump --json capture").out).back()["reason"], "cut_off");
	put("capture", whole.substr(0, 32));
	EXPECT_EQ(objects_of(run("dump --json capture").out).back(),
		  nlohmann::json({{"type", "end"}, {"reason", "unfinished"}, {"records", 0}}));
}

TEST_F(CommandTest, dump_as_json_has_the_machine_the_clocks_and_the_counters_of_the_recording)
{
	show_records(kHello);
	count("records_pushed", 7);
	fs::remove(root / "module/counters/empty_passes");
	run("record -o capture --records 1");
	const std::string dumped = run("dump --json capture").out;
	ASSERT_EQ(objects_of(dumped, "machine").size(), 1u);
	EXPECT_GE(objects_of(dumped, "machine")[0]["cpu_count"], 1);
	ASSERT_GE(objects_of(dumped, "clock").size(), 1u);
	const auto clock = objects_of(dumped, "clock")[0];
	EXPECT_TRUE(clock["time_ns"].is_string());
	EXPECT_NE(clock["boottime_ns"], "0");
	ASSERT_GE(objects_of(dumped, "counters").size(), 1u);
	const auto counters = objects_of(dumped, "counters")[0]["counters"];
	EXPECT_EQ(counters["records_pushed"], 7);
	EXPECT_EQ(counters["records_dropped"], 0);
	EXPECT_EQ(counters["empty_passes"], nullptr);
}

TEST_F(CommandTest, json_of_a_path_of_any_bytes_is_valid)
{
	const Result result =
		shell(std::string(ZEMCTL_BINARY) +
		      " --sysfs zem --device \"$(printf 'a\\377\\\\b')\" status --json");
	EXPECT_EQ(result.status, 0) << result.err;
	EXPECT_EQ(nlohmann::json::parse(result.out)["device"]["path"], R"(a\xff\\b)");
}

TEST_F(CommandTest, dump_of_something_else_fails)
{
	put("other", "something else");
	const Result result = run("dump other");
	EXPECT_EQ(result.err, "zemctl: other: not a zem capture\n");
	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(run("dump nowhere").err, "zemctl: nowhere: No such file or directory\n");
}

TEST_F(CommandTest, a_full_disk_fails_with_the_files_name)
{
	show_records(kHello);
	const Result result = run("record -o /dev/full --records 1");
	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.err, "zemctl: /dev/full: No space left on device\n");
	EXPECT_EQ(shell("$zemctl status >/dev/full").err,
		  "zemctl: standard output: No space left on device\n");
}

TEST_F(CommandTest, a_device_that_is_missing_is_named)
{
	fs::remove(root / "shared");
	put("capture", "precious");
	for (const char *command : {"watch", "record -o capture"}) {
		const Result result = run(command);
		EXPECT_EQ(result.err, "zemctl: shared: No such file or directory\n") << command;
		EXPECT_EQ(result.out, "") << command;
		EXPECT_EQ(result.status, 1) << command;
	}
	EXPECT_EQ(get("capture"), "precious");
}

} // namespace zemctl
