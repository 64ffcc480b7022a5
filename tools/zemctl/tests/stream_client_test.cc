// SPDX-License-Identifier: GPL-2.0
/*
 * The stream of one client, which may be slow, may disconnect, or may read nothing.
 */
#include <array>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include "capture_fixture.h"
#include "serve/stream_client.h"

namespace zemctl {

namespace {

SharedBatch batch_of(std::uint64_t number, std::size_t size = 100)
{
	auto batch = std::make_shared<RecordBatch>();
	std::string payload = std::to_string(number);
	payload.resize(size, '.');
	batch->records = made_record(ZEM_CHANNEL_TEST, payload);
	batch->count = 1;
	return batch;
}

class StreamClientTest : public testing::Test {
protected:
	explicit StreamClientTest(std::size_t limit = 20'000)
	{
		/* As the program: a write to a client that has gone fails. */
		std::signal(SIGPIPE, SIG_IGN);
		int ends[2];
		EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
		peer = FileDescriptor(ends[1]);
		/* The least that the kernel allows: the queue fills soon. */
		const int small = 1;
		::setsockopt(ends[0], SOL_SOCKET, SO_SNDBUF, &small, sizeof(small));
		Losses before;
		before.gaps = 5;
		before.lost_bytes = 1000;
		losses = before;
		client = std::make_unique<StreamClient>(FileDescriptor(ends[0]), marks, before,
							limit);
	}

	CaptureContent finish()
	{
		client->finish();
		return read_all(read_to_end(peer.get()));
	}

	StreamMarks marks = {.preamble =
				     [](CaptureWriter &writer) {
					     writer.write_mark(MarkKind::kMachine, {});
				     },
			     .moment =
				     [] {
					     return Moment{};
				     }};
	Losses losses;
	FileDescriptor peer;
	std::unique_ptr<StreamClient> client;
};

/* Returns the totals of the gap marks. */
std::vector<CaptureTotals> gaps_of(const CaptureContent &content)
{
	std::vector<CaptureTotals> gaps;
	for (const ReadMark &mark : content.marks) {
		if (mark.kind == MarkKind::kGap)
			gaps.push_back(mark.mark().totals());
	}
	return gaps;
}

/* The numbers of the records skip at the marks exactly what these report. */
void expect_marks_where_records_are_missing(const CaptureContent &content, std::uint64_t dropped)
{
	std::uint64_t expected = 0;
	const std::vector<CaptureTotals> gaps = gaps_of(content);
	ASSERT_GE(gaps.size(), 1u);
	EXPECT_EQ(gaps.back().dropped_records, dropped);
	std::size_t next_gap = 0;
	std::uint64_t skipped = 0;
	for (std::size_t i = 0; i < content.payloads.size(); i++) {
		while (next_gap < gaps.size() && gaps[next_gap].records == i) {
			expected += gaps[next_gap].dropped_records - skipped;
			skipped = gaps[next_gap++].dropped_records;
		}
		ASSERT_EQ(std::stoull(content.payloads[i]), expected++) << i;
	}
}

/* Appends what the stream has, of which there must be something. */
void read_some(int fd, ByteVector &bytes)
{
	std::array<std::byte, 2048> part;
	const ssize_t size = ::recv(fd, part.data(), part.size(), 0);
	ASSERT_GT(size, 0);
	bytes.insert(bytes.end(), part.begin(), part.begin() + size);
}

/* A queue of several blocks: it has room long before it is empty. */
class LongQueueTest : public StreamClientTest {
protected:
	LongQueueTest() : StreamClientTest(400'000) {}
};

/* A queue that has no room for some batches. */
class ShortQueueTest : public StreamClientTest {
protected:
	ShortQueueTest() : StreamClientTest(1000) {}
};

} // namespace

TEST_F(StreamClientTest, a_stream_is_a_capture_with_all_records_and_an_end)
{
	for (std::uint64_t i = 0; i < 10; i++)
		client->push(batch_of(i, 3), losses);
	const CaptureContent content = finish();
	ASSERT_EQ(content.payloads.size(), 10u);
	EXPECT_EQ(content.payloads[9], "9..");
	EXPECT_EQ(content.marks.front().kind, MarkKind::kMachine);
	EXPECT_TRUE(content.finished);
	EXPECT_TRUE(content.skips.empty());
	EXPECT_TRUE(gaps_of(content).empty()) << "the losses before the stream are not in it";
}

TEST_F(StreamClientTest, losses_of_the_server_are_gap_marks)
{
	client->push(batch_of(1), losses);
	losses.gaps++;
	losses.lost_bytes += 77;
	losses.kernel_lost += 3;
	client->push(nullptr, losses);
	client->push(batch_of(2), losses);
	const CaptureContent content = finish();
	ASSERT_EQ(gaps_of(content).size(), 1u);
	const CaptureTotals gap = gaps_of(content)[0];
	EXPECT_EQ(gap.records, 1u);
	EXPECT_EQ(gap.gaps, 1u);
	EXPECT_EQ(gap.lost_bytes, 77u);
	EXPECT_EQ(gap.kernel_lost, 3u);
	EXPECT_EQ(gap.dropped_records, 0u);
}

TEST_F(StreamClientTest, a_client_that_does_not_read_gets_a_gap_mark_with_the_right_number)
{
	constexpr std::uint64_t kPushed = 5000;
	for (std::uint64_t i = 0; i < kPushed; i++)
		client->push(batch_of(i), losses);
	const std::uint64_t dropped = client->dropped_records();
	EXPECT_GT(dropped, 4000u) << "the queue has a limit";

	const CaptureContent content = finish();
	EXPECT_EQ(content.payloads.size() + dropped, kPushed);
	ASSERT_FALSE(gaps_of(content).empty());
	const CaptureTotals gap = gaps_of(content).back();
	EXPECT_EQ(gap.dropped_records, dropped);
	EXPECT_EQ(gap.dropped_bytes, dropped * (ZEM_HEADER_SIZE + 100));
	EXPECT_EQ(gap.records, content.payloads.size());
	EXPECT_EQ(gap.gaps, gaps_of(content).size()) << "each stretch is one gap";
	EXPECT_TRUE(content.finished);
}

TEST_F(StreamClientTest, the_gap_mark_is_where_the_records_are_missing)
{
	std::uint64_t pushed = 0;
	while (client->dropped_records() == 0)
		client->push(batch_of(pushed++), losses);
	std::thread reader;
	ByteVector bytes;
	reader = std::thread([&] { bytes = read_to_end(peer.get()); });
	const std::uint64_t before = pushed;
	/* Until the queue has room again. */
	std::uint64_t dropped = client->dropped_records();
	for (;;) {
		std::this_thread::sleep_for(std::chrono::milliseconds(5));
		client->push(batch_of(pushed++), losses);
		if (client->dropped_records() == dropped)
			break;
		dropped = client->dropped_records();
	}
	client->finish();
	reader.join();
	const CaptureContent content = read_all(bytes);
	expect_marks_where_records_are_missing(content, dropped);
	EXPECT_GE(before, gaps_of(content)[0].records);
	EXPECT_EQ(content.payloads.size() + dropped, pushed);
}

TEST_F(LongQueueTest, the_gap_mark_is_before_the_batch_that_finds_room)
{
	std::uint64_t pushed = 0;
	while (client->dropped_records() == 0)
		client->push(batch_of(pushed++), losses);
	ByteVector bytes;
	std::uint64_t dropped;
	do {
		dropped = client->dropped_records();
		read_some(peer.get(), bytes);
		client->push(batch_of(pushed++), losses);
	} while (client->dropped_records() != dropped);
	client->finish();
	const ByteVector rest = read_to_end(peer.get());
	bytes.insert(bytes.end(), rest.begin(), rest.end());
	const CaptureContent content = read_all(bytes);
	expect_marks_where_records_are_missing(content, dropped);
	EXPECT_EQ(content.payloads.size() + dropped, pushed);
	EXPECT_EQ(gaps_of(content).size(), 1u);
}

TEST_F(StreamClientTest, losses_of_the_server_count_while_batches_are_dropped)
{
	for (std::uint64_t i = 0; client->dropped_records() == 0; i++)
		client->push(batch_of(i), losses);
	losses.gaps++;
	losses.kernel_lost += 3;
	client->push(nullptr, losses);
	EXPECT_EQ(gaps_of(finish()).back().kernel_lost, 3u);
}

TEST_F(StreamClientTest, what_was_sent_leaves_its_room_in_the_queue)
{
	ByteVector bytes;
	for (std::uint64_t i = 0; i < 1000; i++) {
		client->push(batch_of(i), losses);
		ASSERT_EQ(client->dropped_records(), 0u);
		read_some(peer.get(), bytes);
	}
}

TEST_F(ShortQueueTest, each_batch_that_never_fits_is_a_gap_after_the_last_one_was_marked)
{
	ByteVector bytes;
	for (std::uint64_t i = 1; i <= 3; i++) {
		client->push(batch_of(i, 2000), losses);
		client->push(nullptr, losses);
		do {
			read_some(peer.get(), bytes);
		} while (gaps_of(read_all(bytes)).size() < i);
		EXPECT_EQ(gaps_of(read_all(bytes)).back().gaps, i);
		EXPECT_EQ(gaps_of(read_all(bytes)).back().dropped_records, i);
	}
}

TEST_F(StreamClientTest, a_client_that_goes_away_within_a_write_ends_its_stream_only)
{
	for (std::uint64_t i = 0; i < 1000; i++)
		client->push(batch_of(i), losses);
	peer = FileDescriptor();
	while (!client->has_ended())
		std::this_thread::sleep_for(std::chrono::milliseconds(1));
	client->push(batch_of(1), losses);
	client->finish();
}

TEST_F(StreamClientTest, a_client_that_reads_nothing_does_not_delay_the_end)
{
	for (std::uint64_t i = 0; i < 1000; i++)
		client->push(batch_of(i), losses);
	client->finish();
	/* The stream has begun, and the client is in a write that does not end. */
	pollfd begun = {.fd = peer.get(), .events = POLLIN, .revents = 0};
	ASSERT_EQ(::poll(&begun, 1, -1), 1);
	client.reset();
	const CaptureContent content = read_all(read_to_end(peer.get()));
	EXPECT_FALSE(content.finished);
}

} // namespace zemctl
