// SPDX-License-Identifier: GPL-2.0
/*
 * The files of a rotated capture: their names, their number, and what a restart finds.
 */
#include "records/rotation.h"

#include <algorithm>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "capture_fixture.h"
#include "failure_of.h"
#include "module_files.h"
#include "records/capture_files.h"

namespace zemctl {

namespace {

class RotationTest : public testing::Test, protected ModuleFiles {
protected:
	RotationTest() { fs::create_directory(root / "captures"); }

	std::string path() const { return (root / "captures/c").string(); }

	std::vector<std::string> names() const
	{
		std::vector<std::string> names;
		for (const auto &entry : fs::directory_iterator(root / "captures"))
			names.push_back(entry.path().filename());
		std::ranges::sort(names);
		return names;
	}
	CaptureContent content(const std::string &name) const
	{
		const std::string text = get("captures/" + name);
		const Bytes bytes = std::as_bytes(std::span(text));
		return read_all(ByteVector(bytes.begin(), bytes.end()));
	}

	CaptureFiles files(CaptureFilesOptions options) const
	{
		options.path = path();
		return CaptureFiles(options, [](CaptureWriter &writer) {
			writer.write_mark(MarkKind::kMachine, {});
		});
	}
	/* A file ends as soon as it has a record. */
	static constexpr CaptureFilesOptions kEachRecord = {.path = {},
							    .compression = BlockCompression::kNone,
							    .rotate_bytes = 1,
							    .rotate_time = {},
							    .keep = {}};

	const ByteVector record_ = made_record(ZEM_CHANNEL_TEST, "x");
};

using Names = std::vector<std::string>;

} // namespace

TEST_F(RotationTest, a_file_gets_its_name_when_it_is_complete)
{
	CaptureFiles target = files(kEachRecord);
	EXPECT_EQ(names(), Names{"c.000001.part"});
	target.write(as_record(record_));
	EXPECT_EQ(names(), Names{"c.000001.part"});
	target.settle();
	EXPECT_EQ(names(), Names{"c.000001"});
	EXPECT_TRUE(content("c.000001").finished);
	target.write(as_record(record_));
	EXPECT_EQ(names(), (Names{"c.000001", "c.000002.part"}));
	target.finish();
	EXPECT_EQ(names(), (Names{"c.000001", "c.000002"}));
	EXPECT_EQ(target.records_written(), 2u);
}

TEST_F(RotationTest, each_file_has_the_marks_of_its_start_and_its_own_totals)
{
	CaptureFiles target = files(kEachRecord);
	for (int i = 0; i < 2; i++) {
		target.write(as_record(record_));
		target.note({}, {1, 5, 0, 0, 0});
		target.settle();
	}
	target.finish();
	const CaptureContent second = content("c.000002");
	ASSERT_EQ(second.marks.size(), 2u);
	EXPECT_EQ(second.marks[0].kind, MarkKind::kMachine);
	EXPECT_EQ(second.marks[1].mark().totals().records, 1u);
	EXPECT_EQ(second.marks[1].mark().totals().gaps, 0u);
	EXPECT_EQ(content("c.000001").marks.back().mark().totals().lost_bytes, 5u);
}

TEST_F(RotationTest, a_file_that_is_old_enough_ends_unless_it_has_no_records)
{
	CaptureFilesOptions options;
	options.rotate_time = std::chrono::nanoseconds(1);
	CaptureFiles target = files(options);
	target.settle();
	EXPECT_FALSE(target.deadline());
	EXPECT_EQ(names(), Names{"c.000001.part"});
	target.write(as_record(record_));
	EXPECT_TRUE(target.deadline());
	target.settle();
	EXPECT_EQ(names(), Names{"c.000001"});
	EXPECT_FALSE(target.deadline());
}

TEST_F(RotationTest, losses_and_moments_open_no_file_of_their_own)
{
	CaptureFiles target = files(kEachRecord);
	target.write(as_record(record_));
	target.settle();
	target.note(Moment{}, {});
	EXPECT_EQ(names(), Names{"c.000001"});
	target.note(Moment{}, {1, 0, 0, 0, 1});
	EXPECT_EQ(names(), (Names{"c.000001", "c.000002.part"})) << "a loss is in a file";
}

TEST_F(RotationTest, the_oldest_files_are_removed)
{
	CaptureFilesOptions options = kEachRecord;
	options.keep = 2;
	CaptureFiles target = files(options);
	for (int i = 0; i < 5; i++) {
		target.write(as_record(record_));
		target.settle();
	}
	EXPECT_EQ(names(), (Names{"c.000004", "c.000005"}));
}

TEST_F(RotationTest, a_restart_continues_the_numbers_and_keeps_what_a_killed_run_wrote)
{
	put("captures/c.000007", "seven");
	put("captures/c.000008.part", "eight");
	put("captures/c.12", "of another program");
	put("captures/c.0000009x", "of another program");
	put("captures/cc.000099", "of another program");
	CaptureFiles target = files(kEachRecord);
	EXPECT_EQ(names(), (Names{"c.0000009x", "c.000007", "c.000008", "c.000009.part", "c.12",
				  "cc.000099"}));
	EXPECT_EQ(get("captures/c.000008"), "eight");
}

TEST_F(RotationTest, a_restart_removes_what_exceeds_the_number_to_keep)
{
	put("captures/c.000001", "");
	put("captures/c.000002", "");
	put("captures/c.1000000", "");
	CaptureFilesOptions options = kEachRecord;
	options.keep = 1;
	CaptureFiles target = files(options);
	EXPECT_EQ(names(), (Names{"c.1000000", "c.1000001.part"}));
}

TEST_F(RotationTest, a_file_that_another_process_writes_is_refused)
{
	put("captures/c.000001.part", "");
	const std::string part = path() + ".000001.part";
	const FileDescriptor writer(::open(part.c_str(), O_WRONLY));
	ASSERT_EQ(::flock(writer.get(), LOCK_EX), 0);
	EXPECT_EQ(failure_of([&] { files(kEachRecord); }),
		  part + ": another process is writing it");
	EXPECT_EQ(names(), Names{"c.000001.part"});
}

TEST_F(RotationTest, a_folder_that_is_missing_is_named)
{
	fs::remove_all(root / "captures");
	EXPECT_EQ(failure_of([&] { files(kEachRecord); }),
		  (root / "captures").string() + ": No such file or directory");
}

} // namespace zemctl
