// SPDX-License-Identifier: GPL-2.0
/*
 * The exit status of a program that reads the stream of a server.
 */
#include "commands/server_reading.h"

#include <csignal>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "made_records.h"
#include "module_files.h"
#include "serve/stream_client.h"

namespace zemctl {

namespace {

struct CountingSink {
	static constexpr bool kNeedsReader = true;

	bool deliver(const Arrival &arrival)
	{
		records += arrival.records.size();
		return true;
	}
	void note_kernel_loss(std::uint64_t) {}
	void note_dropped(std::uint64_t) {}
	void finish() { finished = true; }
	int fd() const { return -1; }
	std::string name() const { return "output"; }
	Kept kept() const { return {records, 0, dropped}; }

	std::uint64_t records = 0;
	std::uint64_t dropped = 0; /* because the output was too slow */
	bool finished = false;
};

class ServerReadingTest : public testing::Test, protected ModuleFiles {
protected:
	/* Reads a stream with one record to its end, with --strict. @losses are the server's. */
	int strict_status(const Losses &losses = {})
	{
		std::signal(SIGPIPE, SIG_IGN);
		int ends[2];
		EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
		const StreamMarks marks = {.preamble = [](CaptureWriter &) {},
					   .moment =
						   [] {
							   return Moment{};
						   }};
		StreamClient server(FileDescriptor{ends[0]}, marks, {});
		auto batch = std::make_shared<RecordBatch>();
		batch->records = made_record(ZEM_CHANNEL_TEST, "hello");
		batch->count = 1;
		server.push(batch, losses);
		server.finish();

		Paths paths;
		paths.module = (root / "module").string();
		ServerReading reading(FileDescriptor{ends[1]}, paths);
		testing::internal::CaptureStderr();
		const int status = reading.run({.seconds = {}, .strict = true}, {}, sink);
		testing::internal::GetCapturedStderr();
		EXPECT_EQ(sink.records, 1u);
		EXPECT_TRUE(sink.finished);
		return status;
	}

	CountingSink sink;
};

} // namespace

TEST_F(ServerReadingTest, succeeds_if_nothing_is_missing)
{
	EXPECT_EQ(strict_status(), kStatusSuccess);
}

TEST_F(ServerReadingTest, fails_if_the_server_lost_records)
{
	EXPECT_EQ(strict_status({.gaps = 1, .kernel_lost = 3}), kStatusFailure);
}

TEST_F(ServerReadingTest, fails_if_the_output_was_too_slow)
{
	sink.dropped = 1;
	EXPECT_EQ(strict_status(), kStatusFailure);
}

TEST_F(ServerReadingTest, fails_if_the_losses_of_the_kernel_are_not_known)
{
	fs::remove_all(counters());
	EXPECT_EQ(strict_status(), kStatusFailure);
}

} // namespace zemctl
