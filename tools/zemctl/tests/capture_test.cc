// SPDX-License-Identifier: GPL-2.0
/*
 * Capture files: a complete capture is read back; one that is cut off or damaged, and a file of
 * another kind, are recognised.
 */
#include "records/capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include "failure_of.h"
#include "made_records.h"

namespace zemctl {

namespace {

/* An anonymous file that starts with @bytes. */
class TemporaryFile {
public:
	explicit TemporaryFile(const ByteVector &bytes = {}) : fd_(::memfd_create("capture", 0))
	{
		EXPECT_EQ(::pwrite(fd_.get(), bytes.data(), bytes.size(), 0),
			  static_cast<ssize_t>(bytes.size()));
	}

	int fd() const { return fd_.get(); }

	ByteVector content() const
	{
		ByteVector bytes(static_cast<std::size_t>(::lseek(fd_.get(), 0, SEEK_END)));
		EXPECT_EQ(::pread(fd_.get(), bytes.data(), bytes.size(), 0),
			  static_cast<ssize_t>(bytes.size()));
		return bytes;
	}

private:
	FileDescriptor fd_;
};

struct Content {
	std::vector<std::string> payloads;
	std::vector<Mark> marks;
	std::size_t left_over = 0;
	bool finished = false;
};

Content read_all(const ByteVector &bytes)
{
	const TemporaryFile file(bytes);
	CaptureReader reader(file.fd(), "some.zem");
	Content content;
	while (const auto item = reader.next()) {
		if (const Record *record = std::get_if<Record>(&*item))
			content.payloads.push_back(payload_text(*record));
		else
			content.marks.push_back(std::get<Mark>(*item));
	}
	content.left_over = reader.left_over();
	content.finished = reader.is_finished();
	return content;
}

const ByteVector kFirst = made_record(ZEM_CHANNEL_TEST, "first");
const ByteVector kSecond = made_record(ZEM_CHANNEL_KMEM, std::string(864, 'k'));

/* Header, two records, no end mark. */
ByteVector unfinished_capture()
{
	const TemporaryFile file;
	Output output(file.fd(), "some.zem");
	CaptureWriter writer(output, make_capture_header());
	writer.write(as_record(kFirst));
	writer.write(as_record(kSecond));
	writer.flush();
	return file.content();
}

ByteVector finished_capture()
{
	const TemporaryFile file;
	Output output(file.fd(), "some.zem");
	CaptureWriter writer(output, make_capture_header());
	writer.write(as_record(kFirst));
	writer.note_losses(1, 70);
	writer.note_losses(1, 70);
	writer.write(as_record(kSecond));
	writer.finish();
	return file.content();
}

std::string at_byte(std::size_t position)
{
	return "some.zem: byte " + std::to_string(position) + ": ";
}

ByteVector first_bytes(const ByteVector &bytes, std::size_t size)
{
	return ByteVector(bytes.begin(), bytes.begin() + static_cast<long>(size));
}

} // namespace

TEST(CaptureTest, what_was_written_is_read)
{
	const Content content = read_all(finished_capture());
	EXPECT_EQ(content.payloads, (std::vector<std::string>{"first", std::string(864, 'k')}));
	EXPECT_TRUE(content.finished);
	EXPECT_EQ(content.left_over, 0u);
}

TEST(CaptureTest, marks_carry_the_totals_so_far)
{
	const Content content = read_all(finished_capture());
	ASSERT_EQ(content.marks.size(), 2u) << "a gap is marked once";
	EXPECT_EQ(content.marks[0].kind, MarkKind::kGap);
	EXPECT_EQ(content.marks[0].totals.records, 1u);
	EXPECT_EQ(content.marks[0].totals.lost_bytes, 70u);
	EXPECT_EQ(content.marks[1].kind, MarkKind::kEnd);
	EXPECT_EQ(content.marks[1].totals.records, 2u);
	EXPECT_EQ(content.marks[1].totals.bytes, kFirst.size() + kSecond.size());
	EXPECT_EQ(content.marks[1].totals.gaps, 1u);
}

TEST(CaptureTest, records_stand_in_the_file_as_they_came)
{
	const ByteVector content = unfinished_capture();
	EXPECT_EQ(ByteVector(content.begin() + 136, content.end()), kFirst + kSecond);
}

TEST(CaptureTest, the_header_says_when_and_where)
{
	const TemporaryFile file(finished_capture());
	const CaptureReader reader(file.fd(), "some.zem");
	EXPECT_EQ(reader.header().version, 1u);
	EXPECT_EQ(reader.header().header_size, 136u);
	EXPECT_EQ(std::string(reader.header().boot_id).size(), 36u);
	EXPECT_NE(std::string(reader.header().kernel_release), "");
	EXPECT_GT(reader.header().start_time, 1'600'000'000'000'000'000u);
}

TEST(CaptureTest, cut_at_every_byte_the_whole_records_are_read_and_the_rest_is_counted)
{
	const ByteVector whole = unfinished_capture();
	const std::size_t after_first = 136 + kFirst.size();
	for (std::size_t size = 136; size < whole.size(); size++) {
		const Content content = read_all(first_bytes(whole, size));
		const bool has_first = size >= after_first;
		EXPECT_EQ(content.payloads.size(), has_first ? 1u : 0u) << size;
		EXPECT_EQ(content.left_over, size - (has_first ? after_first : 136)) << size;
		EXPECT_FALSE(content.finished);
	}
}

TEST(CaptureTest, cut_within_its_header_it_is_refused)
{
	const ByteVector whole = unfinished_capture();
	for (std::size_t size = 0; size < 8; size++)
		EXPECT_EQ(failure_of(read_all, first_bytes(whole, size)),
			  "some.zem: not a zem capture");
	for (std::size_t size = 8; size < 136; size++)
		EXPECT_EQ(failure_of(read_all, first_bytes(whole, size)),
			  "some.zem: the capture is cut off within its header");
}

TEST(CaptureTest, a_file_of_another_kind_is_refused)
{
	EXPECT_EQ(failure_of(read_all, ByteVector(500, std::byte{'x'})),
		  "some.zem: not a zem capture");
}

TEST(CaptureTest, a_newer_version_is_refused)
{
	ByteVector bytes = unfinished_capture();
	bytes[offsetof(CaptureHeader, version)] = std::byte{2};
	EXPECT_EQ(failure_of(read_all, bytes),
		  "some.zem: capture version 2 is newer than this zemctl, "
		  "which reads version 1");
}

TEST(CaptureTest, a_larger_header_is_stepped_over)
{
	ByteVector bytes = unfinished_capture();
	bytes[offsetof(CaptureHeader, header_size)] = std::byte{136 + 8};
	bytes.insert(bytes.begin() + 136, 8, std::byte{0xee});
	EXPECT_EQ(read_all(bytes).payloads.size(), 2u);
}

TEST(CaptureTest, a_damaged_header_is_refused)
{
	ByteVector bytes = unfinished_capture();
	bytes[offsetof(CaptureHeader, header_size)] = std::byte{10};
	EXPECT_EQ(failure_of(read_all, bytes), "some.zem: the capture's header is damaged");
}

TEST(CaptureTest, bytes_that_are_no_record_are_refused_with_their_place)
{
	const ByteVector good = unfinished_capture();
	EXPECT_EQ(failure_of(read_all, good + made_record(77, "x")),
		  at_byte(good.size()) + "not a record, channel 77 does not exist");
	EXPECT_EQ(failure_of(read_all, good + made_record(made_header(1, 9000), "")),
		  at_byte(good.size()) + "not a record, its payload would have 9000 bytes");
	EXPECT_EQ(failure_of(read_all, good + made_record(kMarkChannel, "x")),
		  at_byte(good.size()) + "a damaged mark");
}

TEST(CaptureTest, bytes_after_the_end_mark_are_refused)
{
	const ByteVector good = finished_capture();
	EXPECT_EQ(failure_of(read_all, good + kFirst),
		  at_byte(good.size()) + "bytes after the end mark");
}

TEST(CaptureTest, a_full_disk_is_a_failure_that_names_the_file)
{
	const FileDescriptor full(::open("/dev/full", O_WRONLY));
	Output output(full.get(), "some.zem");
	CaptureWriter writer(output, make_capture_header());
	try {
		writer.flush();
		FAIL() << "nothing was thrown";
	} catch (const Failure &failure) {
		EXPECT_STREQ(failure.what(), "some.zem: No space left on device");
		EXPECT_EQ(failure.status(), 1);
	}
}

} // namespace zemctl
