// SPDX-License-Identifier: GPL-2.0
/*
 * The hub between the shared buffer, the clients and the metrics.
 */
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "capture_fixture.h"
#include "fake_kernel.h"
#include "metrics_fixture.h"
#include "serve/hub.h"

namespace zemctl {

namespace {

struct HubSink {
	bool deliver(const Arrival &arrival) const
	{
		hub.deliver(arrival);
		return true;
	}

	Hub &hub;
};

constexpr std::size_t kHubQueueLimit = 200'000;

class HubTest : public testing::Test {
protected:
	/* As the program: a write to a client that has gone fails. */
	void SetUp() override { std::signal(SIGPIPE, SIG_IGN); }

	/* A client whose stream @this has the other end of. */
	FileDescriptor connect()
	{
		int ends[2];
		EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
		hub.add_client(FileDescriptor(ends[0]));
		return FileDescriptor(ends[1]);
	}

	std::map<std::string, std::string> samples() const
	{
		return samples_of(hub.metrics(MetricDialect::kOpenMetrics, {}));
	}

	Hub hub{{.preamble = [](CaptureWriter &) {},
		 .moment =
			 [] {
				 return Moment{};
			 }},
		kMetricsStart,
		kHubQueueLimit};
};

std::uint64_t dropped_in(const CaptureContent &content)
{
	return content.marks.back().mark().totals().dropped_records;
}

} // namespace

TEST_F(HubTest, a_storm_reaches_each_client_or_is_a_gap_with_the_right_number)
{
	constexpr std::uint64_t kStorm = 100'000;
	const FileDescriptor fast = connect(), record = connect(), stopped = connect();
	ByteVector fast_bytes, record_bytes;
	std::thread fast_thread([&] { fast_bytes = read_to_end(fast.get()); });
	std::thread record_thread([&] { record_bytes = read_to_end(record.get()); });

	FakeKernel kernel;
	Reader reader;
	std::uint64_t made = 0;
	std::function<void()> again = [&] {
		while (made < kStorm && !kernel.notified)
			kernel.append_or_wait(
				made_record(ZEM_CHANNEL_TEST, std::to_string(made++)));
		if (made < kStorm || kernel.notified)
			kernel.on_wait.push_back(again);
	};
	kernel.on_wait.emplace_back([] {});
	kernel.on_wait.push_back(again);
	HubSink sink{hub};
	Session(kernel, reader, sink, SessionOptions()).run();

	EXPECT_EQ(samples().at("zem_records_total{channel=\"test\"}"), std::to_string(kStorm));
	/* Everything is in the queues by now, so the third client can go on. */
	ByteVector stopped_bytes;
	std::thread stopped_thread([&] { stopped_bytes = read_to_end(stopped.get()); });
	hub.finish(std::chrono::minutes(5));
	for (std::thread *thread : {&fast_thread, &record_thread, &stopped_thread})
		thread->join();

	for (const ByteVector *bytes : {&fast_bytes, &record_bytes, &stopped_bytes}) {
		const CaptureContent content = read_all(*bytes);
		EXPECT_TRUE(content.finished);
		EXPECT_TRUE(content.skips.empty());
		EXPECT_EQ(content.payloads.size() + dropped_in(content), kStorm);
	}
	EXPECT_GT(dropped_in(read_all(stopped_bytes)), kStorm / 2) << "its queue has a limit";
	EXPECT_EQ(reader.counters().gaps, 0u);
}

TEST_F(HubTest, only_a_limited_number_of_bytes_waits_for_clients_that_read_nothing)
{
	std::vector<FileDescriptor> clients;
	for (std::size_t i = 0; i < Hub::kClients; i++)
		clients.push_back(connect());
	const ByteVector bytes = made_record(ZEM_CHANNEL_TEST, std::string(7000, 'x'));
	const std::vector<Record> records = {as_record(bytes)};
	Counters counters;
	for (int i = 0; i < 2000; i++)
		hub.deliver(Arrival(records, {}, counters));
	/* The queue has room for 28 records, the block and the socket have room for some more. */
	EXPECT_GT(std::stoull(samples().at("zem_server_dropped_records_total")),
		  Hub::kClients * 1850u);
}

TEST_F(HubTest, more_clients_than_allowed_are_refused)
{
	std::vector<FileDescriptor> clients;
	for (std::size_t i = 0; i < Hub::kClients + 3; i++)
		clients.push_back(connect());
	EXPECT_EQ(read_to_end(clients.back().get()).size(), 0u);
	EXPECT_EQ(samples().at("zem_server_clients"), std::to_string(Hub::kClients));
	EXPECT_EQ(samples().at("zem_server_refused_clients_total"), "3");
	for (const int fd : hub.client_fds())
		hub.remove_client(fd);
	EXPECT_EQ(samples().at("zem_server_clients"), "0");
}

TEST_F(HubTest, losses_are_in_the_metrics_and_in_the_streams)
{
	const FileDescriptor client = connect();
	Counters counters;
	counters.gaps = 2;
	counters.lost_bytes = 300;
	hub.deliver(Arrival({}, {}, counters));
	hub.note_kernel_loss(7);
	counters.gaps = 3;
	hub.deliver(Arrival({}, {}, counters));
	const auto values = samples();
	EXPECT_EQ(values.at("zem_gaps_total"), "4");
	EXPECT_EQ(values.at("zem_lost_bytes_total"), "300");
	EXPECT_EQ(values.at("zem_missing_records_total{cause=\"kernel\"}"), "7");
	hub.finish(std::chrono::minutes(5));
	const CaptureTotals totals =
		read_all(read_to_end(client.get())).marks.back().mark().totals();
	EXPECT_EQ(totals.gaps, 4u);
	EXPECT_EQ(totals.lost_bytes, 300u);
	EXPECT_EQ(totals.kernel_lost, 7u);
}

TEST_F(HubTest, a_client_that_joins_late_gets_the_later_records_and_losses)
{
	Counters counters;
	counters.gaps = 1;
	counters.lost_bytes = 9;
	const ByteVector bytes = made_record(ZEM_CHANNEL_TEST, "first");
	const std::vector<Record> records = {as_record(bytes)};
	hub.deliver(Arrival(records, {}, counters));
	const FileDescriptor client = connect();
	hub.deliver(Arrival(records, {}, counters));
	hub.finish(std::chrono::minutes(5));
	const CaptureContent content = read_all(read_to_end(client.get()));
	EXPECT_EQ(content.payloads.size(), 1u);
	EXPECT_EQ(content.marks.back().mark().totals().gaps, 0u);
	EXPECT_EQ(samples().at("zem_records_total{channel=\"test\"}"), "2");
}

} // namespace zemctl
