// SPDX-License-Identifier: GPL-2.0
/*
 * Recording behind a queue: a file that takes nothing does not delay the session, and what had to
 * be dropped is counted. A recording that is killed keeps every block that it wrote.
 */
#include "records/recording.h"

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "capture_fixture.h"
#include "commands/completeness.h"
#include "deliver.h"
#include "failure_of.h"
#include "kernel/session.h"
#include "module_files.h"

namespace zemctl {

namespace {

using namespace std::chrono_literals;

ByteVector counted_record(std::uint64_t number, std::size_t size = 100)
{
	return made_record(made_header(ZEM_CHANNEL_TEST, size, number),
			   std::string(size, static_cast<char>(number)));
}

std::vector<std::uint64_t> numbers_of(const ByteVector &capture)
{
	const TemporaryFile file(capture);
	CaptureReader reader(file.fd(), "capture");
	std::vector<std::uint64_t> numbers;
	while (const auto item = reader.next())
		if (const Record *record = std::get_if<Record>(&*item))
			numbers.push_back(record->header.timestamp);
	return numbers;
}

long blocks_of(const ByteVector &capture)
{
	const std::string_view text(reinterpret_cast<const char *>(capture.data()), capture.size());
	const std::string_view magic(reinterpret_cast<const char *>(kBlockMagic),
				     sizeof(kBlockMagic));
	long count = 0;
	for (auto at = text.find(magic); at != text.npos; at = text.find(magic, at + 1))
		count++;
	return count;
}

class RecordingTest : public testing::Test, protected ModuleFiles {
protected:
	CaptureFiles files(CaptureFilesOptions options)
	{
		options.path = path();
		return CaptureFiles(options, [](CaptureWriter &) {});
	}
	std::string path() const { return (root / "capture").string(); }
	ByteVector content() const
	{
		const std::string text = get("capture");
		const Bytes bytes = std::as_bytes(std::span(text));
		return ByteVector(bytes.begin(), bytes.end());
	}

	Reader reader;
};

/* Empties a pipe in a thread, from the first byte on. */
class PipeReader {
public:
	explicit PipeReader(int fd)
		: thread_([this, fd] {
			  ByteVector piece(65536);
			  for (;;) {
				  const ssize_t got = ::read(fd, piece.data(), piece.size());
				  if (got <= 0)
					  break;
				  bytes_.insert(bytes_.end(), piece.begin(), piece.begin() + got);
			  }
		  })
	{
	}
	ByteVector bytes()
	{
		thread_.join();
		return bytes_;
	}

private:
	ByteVector bytes_;
	std::thread thread_;
};

/* The process that is killed, and the test that kills it, share these. */
struct Progress {
	std::atomic<std::uint64_t> delivered;
	std::atomic<std::uint64_t> written;
};

/* A kernel whose buffer is full whenever the session waits. */
class BusyKernel {
public:
	BusyKernel(Progress &progress, RecordSink &sink) : progress_(progress), sink_(sink) {}

	Clock::time_point now() const { return Clock::now(); }
	Wake wait(std::chrono::nanoseconds)
	{
		if (looks_ == 2)
			return Wake::kQuiet;
		progress_.written = sink_.kept().records;
		std::size_t used = 0;
		for (;;) {
			const ByteVector record = counted_record(number_, 16 + number_ % 400);
			if (used + record.size() > ZEM_SHARED_SIZE)
				break;
			std::ranges::copy(record, look_.bytes.begin() + static_cast<long>(used));
			used += record.size();
			number_++;
		}
		used_ = static_cast<std::uint32_t>(used);
		progress_.delivered = number_;
		return Wake::kNotified;
	}
	bool is_notified() { return looks_ != 2; }
	void pause(std::chrono::nanoseconds) {}
	void copy_buffer(Snapshot &look)
	{
		looks_++;
		look.bytes = look_.bytes;
	}
	std::uint32_t hand_back()
	{
		look_.bytes.fill(std::byte{0});
		return std::exchange(used_, 0);
	}

private:
	Progress &progress_;
	RecordSink &sink_;
	Snapshot look_;
	std::uint64_t number_ = 0;
	std::uint32_t used_ = 0;
	int looks_ = 0;
};

[[noreturn]] void record_until_killed(const std::string &path, BlockCompression compression,
				      Progress &progress)
{
	CaptureFilesOptions options;
	options.path = path;
	options.compression = compression;
	CaptureFiles files(options, [](CaptureWriter &) {});
	RecordSink sink(files, {}, no_moment);
	BusyKernel kernel(progress, sink);
	Reader reader;
	/* The time is for a test that fails to kill. */
	Session(kernel, reader, sink, {20s, 50ms}).run();
	::_exit(0);
}

} // namespace

TEST_F(RecordingTest, what_is_delivered_is_written)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {}, no_moment);
	EXPECT_TRUE(deliver(sink, reader, counted_record(1) + counted_record(2)));
	EXPECT_TRUE(deliver(sink, reader, counted_record(3)));
	sink.finish();
	EXPECT_EQ(numbers_of(content()), (std::vector<std::uint64_t>{1, 2, 3}));
	EXPECT_EQ(sink.kept().records, 3u);
	EXPECT_TRUE(read_all(content()).finished);
}

TEST_F(RecordingTest, little_is_written_without_more_to_follow)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {}, no_moment);
	deliver(sink, reader, counted_record(1));
	while (sink.kept().records == 0)
		std::this_thread::sleep_for(1ms);
	EXPECT_EQ(numbers_of(content()), (std::vector<std::uint64_t>{1}));
}

/* A thread that stalls for longer than the hold time gets more blocks, so there are some tries. */
TEST_F(RecordingTest, deliveries_in_quick_succession_share_a_block)
{
	constexpr int kDeliveries = 20;
	long blocks = kDeliveries;
	for (int tries = 0; tries < 50 && blocks > 1; tries++) {
		CaptureFiles target = files({});
		RecordSink sink(target, {}, no_moment);
		for (int i = 0; i < kDeliveries; i++)
			deliver(sink, reader, counted_record(1));
		sink.finish();
		blocks = blocks_of(content());
	}
	EXPECT_EQ(blocks, 1u);
}

TEST_F(RecordingTest, a_delivery_larger_than_a_block_is_divided)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {}, no_moment);
	std::vector<ByteVector> bytes;
	std::vector<std::uint64_t> numbers;
	for (std::uint64_t number = 0; number < 1000; number++) {
		bytes.push_back(counted_record(number));
		numbers.push_back(number);
	}
	std::vector<Record> records;
	for (const ByteVector &record : bytes)
		records.push_back(as_record(record));
	sink.deliver(Arrival(records, {}, {}));
	sink.finish();
	EXPECT_EQ(numbers_of(content()), numbers);
	/* 132,000 bytes in blocks of 64 KiB. The end mark may be in a fourth block. */
	EXPECT_GE(blocks_of(content()), 3);
	EXPECT_EQ(sink.kept().records, 1000u);
}

TEST_F(RecordingTest, records_between_others_are_left_out)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {1U << ZEM_CHANNEL_TEST, {}}, no_moment);
	const ByteVector other = made_record(ZEM_CHANNEL_GPU, "x", 9);
	deliver(sink, reader,
		other + counted_record(1) + counted_record(2) + other + counted_record(3) + other);
	sink.finish();
	EXPECT_EQ(numbers_of(content()), (std::vector<std::uint64_t>{1, 2, 3}));
	EXPECT_EQ(sink.kept().left_out, 3u);
}

TEST_F(RecordingTest, channels_that_are_not_wanted_are_left_out)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {1U << ZEM_CHANNEL_GPU, 1}, no_moment);
	EXPECT_TRUE(deliver(sink, reader, counted_record(1)));
	EXPECT_FALSE(deliver(sink, reader, made_record(ZEM_CHANNEL_GPU, "x", 2)));
	sink.finish();
	EXPECT_EQ(numbers_of(content()), (std::vector<std::uint64_t>{2}));
	EXPECT_EQ(sink.kept().left_out, 1u);
}

TEST_F(RecordingTest, a_gap_has_a_moment_before_it)
{
	CaptureFiles target = files({});
	RecordSink sink(target, {}, [] {
		Moment moment = {};
		moment.clock.boottime = 42;
		moment.counters.values[1] = 7;
		return moment;
	});
	deliver(sink, reader, counted_record(1));
	sink.note_kernel_loss(9);
	sink.finish();
	const CaptureContent content = read_all(this->content());
	ASSERT_EQ(content.marks.size(), 6u);
	EXPECT_EQ(content.marks[0].kind, MarkKind::kClock);
	EXPECT_EQ(content.marks[0].mark().as<ClockReading>().boottime, 42u);
	EXPECT_EQ(content.marks[1].kind, MarkKind::kCounters);
	EXPECT_EQ(content.marks[1].mark().as<ModuleCounters>().values[1], 7u);
	EXPECT_EQ(content.marks[2].kind, MarkKind::kGap);
	EXPECT_EQ(content.marks[2].mark().totals().kernel_lost, 9u);
	EXPECT_EQ(content.marks[3].kind, MarkKind::kClock);
	EXPECT_EQ(content.marks[5].kind, MarkKind::kEnd);
}

TEST_F(RecordingTest, a_pipe_that_nobody_empties_delays_nothing_and_the_drops_are_counted)
{
	ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
	FileDescriptor pipe(::open(path().c_str(), O_RDONLY | O_NONBLOCK));
	CaptureFiles target = files({});
	RecordSink sink(target, {0, {}, std::size_t{256} << 10}, no_moment);
	std::uint64_t number = 0;
	const auto deliver_some = [&] {
		ByteVector bytes;
		for (int i = 0; i < 60; i++)
			bytes = bytes + counted_record(number++);
		deliver(sink, reader, bytes);
	};
	for (int i = 0; i < 200; i++)
		deliver_some();
	const std::uint64_t dropped = sink.kept().dropped;
	EXPECT_GT(dropped, 0u);
	EXPECT_LT(dropped, number);

	ASSERT_EQ(::fcntl(pipe.get(), F_SETFL, 0), 0);
	PipeReader output(pipe.get());
	for (std::uint64_t before = 0; sink.kept().dropped > before;) {
		before = sink.kept().dropped;
		std::this_thread::sleep_for(1ms);
		deliver_some();
	}
	sink.finish();
	const ByteVector capture = output.bytes();

	const std::vector<std::uint64_t> numbers = numbers_of(capture);
	EXPECT_EQ(numbers.size() + sink.kept().dropped, number);
	const CaptureContent content = read_all(capture);
	std::vector<CaptureTotals> gaps;
	for (const ReadMark &mark : content.marks)
		if (mark.kind == MarkKind::kGap)
			gaps.push_back(mark.mark().totals());
	ASSERT_FALSE(gaps.empty());
	EXPECT_EQ(gaps.back().dropped_records, sink.kept().dropped);
	EXPECT_EQ(gaps.back().dropped_bytes, sink.kept().dropped * 132);
	CaptureTotals last = {};
	for (const CaptureTotals &gap : gaps) {
		EXPECT_EQ(numbers.at(gap.records) - numbers.at(gap.records - 1) - 1,
			  gap.dropped_records - last.dropped_records)
			<< "the mark is where the records are missing";
		last = gap;
	}
	EXPECT_TRUE(content.finished);
}

TEST_F(RecordingTest, a_pipe_without_reader_is_a_failure_that_names_it)
{
	ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
	FileDescriptor pipe(::open(path().c_str(), O_RDONLY | O_NONBLOCK));
	std::signal(SIGPIPE, SIG_IGN);
	CaptureFiles target = files({});
	RecordSink sink(target, {}, no_moment);
	pipe = FileDescriptor();
	deliver(sink, reader, counted_record(1));
	EXPECT_EQ(failure_of([&] { sink.finish(); }), path() + ": Broken pipe");
}

TEST_F(RecordingTest, a_failed_write_ends_a_later_delivery)
{
	ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
	FileDescriptor pipe(::open(path().c_str(), O_RDONLY | O_NONBLOCK));
	std::signal(SIGPIPE, SIG_IGN);
	CaptureFiles target = files({});
	RecordSink sink(target, {}, no_moment);
	pipe = FileDescriptor();
	std::string failure = "none";
	for (int i = 0; i < 10'000 && failure == "none"; i++) {
		failure = failure_of([&] { deliver(sink, reader, counted_record(1)); });
		std::this_thread::sleep_for(1ms);
	}
	EXPECT_EQ(failure, path() + ": Broken pipe");
}

TEST_F(RecordingTest, a_full_disk_fails_at_the_first_block)
{
	fs::create_symlink("/dev/full", path());
	EXPECT_EQ(failure_of([&] { files({}); }), path() + ": No space left on device");
}

TEST_F(RecordingTest, killed_at_two_hundred_moments_it_keeps_all_but_the_last_block)
{
	void *memory = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
			      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	ASSERT_NE(memory, MAP_FAILED);
	std::mt19937 random(1234);
	std::uint64_t records = 0;
	for (int i = 0; i < 200; i++) {
		SCOPED_TRACE(i);
		fs::remove(path());
		auto *progress = new (memory) Progress{};
		const auto compression = i % 4 == 0 ? BlockCompression::kZstd :
						      BlockCompression::kNone;
		const pid_t child = ::fork();
		if (child == 0)
			record_until_killed(path(), compression, *progress);
		while (progress->delivered == 0)
			std::this_thread::sleep_for(100us);
		std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
		::kill(child, SIGKILL);
		int status = 0;
		ASSERT_EQ(::waitpid(child, &status, 0), child);
		ASSERT_TRUE(WIFSIGNALED(status));

		const ByteVector capture = content();
		const std::vector<std::uint64_t> numbers = numbers_of(capture);
		const CaptureContent all = read_all(capture);
		EXPECT_TRUE(all.skips.empty());
		EXPECT_FALSE(all.finished);
		EXPECT_GE(numbers.size(), progress->written);
		EXPECT_LE(numbers.size(), progress->delivered);
		for (std::size_t n = 0; n < numbers.size(); n++)
			ASSERT_EQ(numbers[n], n);
		records += numbers.size();
	}
	EXPECT_GT(records, 200u * 100) << "the recordings had time to write";
	::munmap(memory, sizeof(Progress));
}

} // namespace zemctl
