// SPDX-License-Identifier: GPL-2.0
/*
 * zemctl record and zemctl dump as a user runs them: signals, full disks, rotation, compression,
 * captures that are incomplete, and the reader in docs/capture.md.
 */
#include <algorithm>
#include <gtest/gtest.h>

#include "capture_fixture.h"
#include "code_block.h"
#include "command_fixture.h"

namespace zemctl {

namespace {

class RecordCommandTest : public CommandTest {
protected:
	/* Runs record in the background until the capture has "hello", then @then. */
	Result record_and(const std::string &options, const std::string &then) const
	{
		show_records(hello_);
		return shell("$zemctl record -o capture " + options +
			     " & pid=$!\n"
			     "until $zemctl dump capture 2>/dev/null | grep -q hello; do\n"
			     "sleep 0.02; done\n" +
			     then + "\nwait $pid");
	}
	CaptureContent content(const std::string &name) const
	{
		const std::string text = get(name);
		const Bytes bytes = std::as_bytes(std::span(text));
		return read_all(ByteVector(bytes.begin(), bytes.end()));
	}

	const ByteVector hello_ = made_record(ZEM_CHANNEL_TEST, "hello", 1'700'000'000'000'000'000);
	const ByteVector bye_ = made_record(ZEM_CHANNEL_WIFI, "bye", 1'700'000'001'000'000'000);
};

} // namespace

TEST_F(RecordCommandTest, a_capture_starts_with_the_machine_and_the_clocks)
{
	count("records_pushed", 11);
	show_records(hello_);
	EXPECT_EQ(run("record -o capture --records 1").status, 0);
	const CaptureContent capture = content("capture");
	ASSERT_GE(capture.marks.size(), 5u);
	EXPECT_EQ(capture.marks.front().kind, MarkKind::kMachine);
	EXPECT_GE(capture.marks.front().mark().as<MachineDescription>().cpus, 1u);
	const auto clock = std::ranges::find(capture.marks, MarkKind::kClock, &ReadMark::kind);
	ASSERT_NE(clock, capture.marks.end());
	EXPECT_GT(clock->mark().as<ClockReading>().realtime, 1'600'000'000'000'000'000u);
	const auto counters =
		std::ranges::find(capture.marks, MarkKind::kCounters, &ReadMark::kind);
	ASSERT_NE(counters, capture.marks.end());
	EXPECT_EQ(counters->mark().as<ModuleCounters>().values[0], 11u);
	EXPECT_TRUE(capture.finished);
}

TEST_F(RecordCommandTest, each_signal_to_end_ends_it_in_order)
{
	for (const char *signal : {"INT", "TERM", "HUP"}) {
		fs::remove(root / "capture");
		const Result result =
			record_and("--strict", std::string("kill -") + signal + " $pid");
		EXPECT_EQ(result.status, 0) << signal << result.err;
		EXPECT_NE(result.err.find(" 0 lost, 0 gaps in "), std::string::npos)
			<< signal << result.err;
		EXPECT_EQ(run("dump --strict capture").status, 0) << signal;
	}
}

TEST_F(RecordCommandTest, a_hangup_that_is_ignored_does_not_end_it)
{
	show_records(hello_);
	const Result result = shell(
		"trap '' HUP\n$zemctl record -o capture & pid=$!\n"
		"until $zemctl dump capture 2>/dev/null | grep -q hello; do sleep 0.02; done\n"
		"kill -HUP $pid; sleep 0.3; kill -0 $pid || echo ended\n"
		"kill -INT $pid; wait $pid");
	EXPECT_EQ(result.out, "");
	EXPECT_EQ(result.status, 0);
}

TEST_F(RecordCommandTest, a_lost_reader_is_a_failure_with_a_summary)
{
	show_records(hello_);
	const Result result = shell("{ $zemctl record -o -; echo $? >status; } | head -c 33 >part");
	EXPECT_EQ(get("status"), "1\n");
	EXPECT_NE(result.err.find("records, "), std::string::npos) << result.err;
	EXPECT_NE(result.err.find("zemctl: standard output: Broken pipe\n"), std::string::npos)
		<< result.err;
}

TEST_F(RecordCommandTest, a_disk_that_becomes_full_leaves_whole_blocks)
{
	const ByteVector large = made_record(ZEM_CHANNEL_TEST, std::string(7900, 'x'));
	put("large", {reinterpret_cast<const char *>(large.data()), large.size()});
	show_records(hello_);
	const Result result = shell(
		"ulimit -f 16\n"
		"$zemctl record -o capture & pid=$!\n"
		"until $zemctl dump capture 2>/dev/null | grep -q hello; do sleep 0.02; done\n"
		"cat large 1<>shared\nwait $pid");
	EXPECT_EQ(result.status, 1);
	EXPECT_NE(result.err.find("zemctl: capture: File too large\n"), std::string::npos)
		<< result.err;
	EXPECT_NE(result.err.find("records, "), std::string::npos) << "a summary";
	const CaptureContent capture = content("capture");
	EXPECT_EQ(capture.payloads.front(), "hello");
	EXPECT_EQ(capture.left_over, 0u);
	EXPECT_TRUE(capture.skips.empty());
	EXPECT_FALSE(capture.finished);
	EXPECT_EQ(run("dump --strict capture").status, 1);
}

TEST_F(RecordCommandTest, only_the_channels_asked_for_are_recorded)
{
	show_records(hello_ + bye_);
	const Result result = run("record -o capture --channels wifi,usb --records 1");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(content("capture").payloads, std::vector<std::string>{"bye"});
	EXPECT_NE(result.err.find("1 records kept, 1 left out as asked\n"), std::string::npos)
		<< result.err;
	EXPECT_EQ(run("record -o capture --channels nowhere").status, 2);
}

TEST_F(RecordCommandTest, a_compressed_capture_is_dumped_as_any_other)
{
	show_records(hello_ + bye_);
	EXPECT_EQ(run("record -o plain --records 2").status, 0);
	EXPECT_EQ(run("record -o capture --compress --records 2").status, 0);
	EXPECT_EQ(run("dump --strict capture").out, run("dump plain").out);
	EXPECT_NE(run("dump capture").out.find("\"hello\""), std::string::npos);
}

TEST_F(RecordCommandTest, a_rotated_capture_has_finished_files_only)
{
	show_records(hello_ + bye_);
	EXPECT_EQ(run("record -o capture --rotate-bytes 1 --keep 1 --records 2").status, 0);
	EXPECT_FALSE(fs::exists(root / "capture"));
	EXPECT_FALSE(fs::exists(root / "capture.000001.part"));
	EXPECT_EQ(run("dump --strict capture.000001").status, 0);
	EXPECT_EQ(run("record -o capture --rotate-seconds 3600 --keep 1 --records 2").status, 0);
	EXPECT_FALSE(fs::exists(root / "capture.000001")) << "one is kept";
	EXPECT_EQ(content("capture.000002").payloads.size(), 2u);
}

TEST_F(RecordCommandTest, rotation_needs_a_file_and_keeping_needs_rotation)
{
	const Result to_pipe = run("record -o - --rotate-bytes 100");
	EXPECT_EQ(to_pipe.err, "zemctl: record: standard output cannot be rotated\n");
	EXPECT_EQ(to_pipe.status, 2);
	const Result keep = run("record -o capture --keep 3");
	EXPECT_EQ(keep.err, "zemctl: record: --keep needs --rotate-bytes or --rotate-seconds\n");
	EXPECT_EQ(keep.status, 2);
	EXPECT_EQ(run("record -o capture --rotate-bytes 0").status, 2);
	EXPECT_FALSE(fs::exists(root / "capture"));
}

TEST_F(RecordCommandTest, a_capture_that_was_cut_off_is_read_and_said_to_be)
{
	CaptureInMemory capture;
	capture.writer.write(as_record(hello_));
	capture.writer.end_block();
	const std::size_t last = capture.content().size();
	capture.writer.finish();
	const ByteVector bytes = capture.content();
	put("capture", {reinterpret_cast<const char *>(bytes.data()), last + 10});
	const Result in_a_block = run("dump capture");
	EXPECT_NE(in_a_block.out.find("hello"), std::string::npos);
	EXPECT_EQ(in_a_block.err, "zemctl: capture: cut off: 10 bytes left over after the last "
				  "whole block\n");
	EXPECT_EQ(in_a_block.status, 0);
	fs::resize_file(root / "capture", last);
	EXPECT_EQ(run("dump capture").err, "zemctl: capture: the capture was not finished, its end "
					   "may be missing\n");
}

TEST_F(RecordCommandTest, dump_is_strict_about_everything_that_is_missing)
{
	show_records(hello_ + bye_);
	run("record -o capture --records 2");
	EXPECT_EQ(run("dump --strict capture").status, 0);
	const std::string whole = get("capture");

	put("cut", whole.substr(0, whole.size() - 10));
	put("unfinished", whole.substr(0, sizeof(CaptureHeader)));
	std::string zeros = whole;
	zeros.replace(sizeof(CaptureHeader) + 60, 20, 20, '\0');
	put("zeros", zeros);
	put("longer", whole + "x");
	const auto gap = objects_of(run("dump --json longer").out, "gap").at(0);
	EXPECT_EQ(gap["type"], "gap");
	for (const char *file : {"cut", "unfinished", "zeros", "longer"}) {
		EXPECT_EQ(run(std::string("dump ") + file).status, 0) << file;
		const Result strict = run(std::string("dump --strict ") + file);
		EXPECT_EQ(strict.status, 1) << file;
		EXPECT_EQ(strict.err.find(std::string("zemctl: ") + file + ": "), 0u) << strict.err;
	}
}

TEST_F(RecordCommandTest, the_documented_reader_reads_what_the_writer_wrote)
{
	const std::string code = code_block_of("capture.md", "python");
	ASSERT_NE(code, "");
	put("reader.py", code);
	show_records(hello_ + bye_);
	run("record -o capture --records 2");
	const Result result = shell("python3 -I reader.py capture");
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out, "1700000000000000000 11 0 1 68656c6c6f\n"
			      "1700000001000000000 7 0 1 627965\n");

	std::string damaged = get("capture");
	damaged[sizeof(CaptureHeader) + sizeof(BlockHeader) + 5] ^= 1;
	put("damaged", damaged);
	EXPECT_EQ(shell("python3 -I reader.py damaged").status, 1);
}

} // namespace zemctl
