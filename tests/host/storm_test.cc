// SPDX-License-Identifier: GPL-2.0
/*
 * Real concurrency: producers on every CPU, the consumer, the collector, a reader, and a writer of
 * the switch. Every record that arrives is whole and in the order of its CPU, and every record is
 * accounted for. Meant for ThreadSanitizer, and also valid without it.
 */
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>

#include "host/fixture.h"

namespace test {

namespace {

using namespace std::chrono_literals;

constexpr unsigned int kProducers = 8;
constexpr uint32_t kRecordsEach = 1500;
constexpr size_t kFillerSize = 3000;

/* The start of a producer's payload. Its number determines the bytes after it. */
struct Stamp {
	uint32_t producer;
	uint32_t number;
	uint32_t size;
	uint32_t checksum;
};

size_t size_of(uint32_t number)
{
	constexpr size_t kLargest = 3900;
	return sizeof(Stamp) + (number % 50 == 7 ? kLargest : number * 37 % 400);
}

uint32_t checksum_of(const std::string &payload)
{
	uint32_t sum = 2166136261;
	for (size_t i = sizeof(Stamp); i < payload.size(); i++)
		sum = (sum ^ static_cast<unsigned char>(payload[i])) * 16777619;
	return sum;
}

std::string make_payload(uint32_t producer, uint32_t number)
{
	std::string payload(size_of(number), static_cast<char>(producer * 31 + number));
	if (payload.size() > sizeof(Stamp))
		payload.back() = '$';
	const Stamp stamp{producer, number, static_cast<uint32_t>(payload.size()),
			  checksum_of(payload)};
	memcpy(payload.data(), &stamp, sizeof(stamp));
	return payload;
}

} /* namespace */

enum class Company { kKmemProvider, kTriggerWriter, kBoth };

class Storm : public UnloadedTest, public ::testing::WithParamInterface<Company> {
protected:
	Storm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = kProducers})
	{
		load();
		mapping = shared();
	}

	void produce(unsigned int producer)
	{
		Setter *set = setter(kChannels[producer + 6]);
		for (uint32_t number = 0; number < kRecordsEach; number++) {
			const std::string payload = make_payload(producer, number);
			set(0, payload.data(), static_cast<int>(payload.size()), producer);
			if (number % 8 == 0)
				std::this_thread::sleep_for(50us);
		}
	}

	/* Only this thread advances time, so no timeout expires while it checks the records. */
	void read_like_a_daemon(sim::Poller poller)
	{
		while (!daemon_stops) {
			if (poller.wait(0)) {
				collect();
				continue;
			}
			kernel.advance(50);
			std::this_thread::sleep_for(1ms);
		}
	}

	void collect()
	{
		const std::vector<Record> found = parse_records(mapping);
		size_t bytes = 0;
		for (const Record &record : found) {
			bytes += sizeof(record.header) + record.payload.size();
			received++;
			if (is_a_producers(record))
				check(record);
		}
		EXPECT_EQ(hand_back(), bytes);
	}

	/* The producers' channels include kzerod, on which a trigger reports too. */
	static bool is_a_producers(const Record &record)
	{
		const zem_record_header &header = record.header;
		return header.channel >= 6 && header.channel < 6 + kProducers &&
		       header.sub_type == header.channel - 6;
	}

	void check(const Record &record)
	{
		Stamp stamp{};
		ASSERT_GE(record.payload.size(), sizeof(stamp));
		memcpy(&stamp, record.payload.data(), sizeof(stamp));
		EXPECT_EQ(record.header.channel, 6 + stamp.producer);
		EXPECT_EQ(record.payload.size(), stamp.size);
		EXPECT_EQ(checksum_of(record.payload), stamp.checksum);
		EXPECT_TRUE(record.payload == make_payload(stamp.producer, stamp.number));
		if (last_number.contains(stamp.producer)) {
			EXPECT_GT(stamp.number, last_number[stamp.producer]);
		}
		last_number[stamp.producer] = stamp.number;
	}

	void toggle()
	{
		for (int i = 0; i < 6; i++) {
			EXPECT_EQ(store("trace_on", i % 2 == 0 ? "0" : "1"), 1);
			std::this_thread::sleep_for(20ms);
		}
	}

	void write_and_read_settings()
	{
		for (int i = 0; i < 200; i++) {
			EXPECT_GT(store("trigger", std::to_string(i)), 0);
			store("display_interval", std::to_string(i % 20));
			store("svp_interval", std::to_string(i % 20));
			EXPECT_NE(show("display_interval"), "");
			std::this_thread::sleep_for(200us);
		}
	}

	/* Waits until the consumer has taken all records. It may still be handling the last one. */
	void wait_until_drained()
	{
		while (kernel.ring_buffers.statistics().entries != 0)
			std::this_thread::sleep_for(1ms);
	}

	/* Fills the shared buffer up to a notification, without overwriting anything. */
	void flush()
	{
		for (int i = 0; i < 4; i++) {
			wait_until_drained();
			push(std::string(kFillerSize, 'x'), "battery");
		}
		wait_until_drained();
	}

	std::span<std::byte> mapping;
	std::atomic<bool> daemon_stops{false};
	unsigned long received = 0;
	std::map<uint32_t, uint32_t> last_number;
};

TEST_P(Storm, records_arrive_whole_in_order_and_all_accounted_for)
{
	static std::string block(sizeof(zem_kmem), 'k');
	static std::atomic<unsigned int> displays{0};
	if (GetParam() != Company::kTriggerWriter) {
		using Provider = void *(*)();
		*module.symbol<Provider>("get_all_kmemind_func") = [] {
			return static_cast<void *>(block.data());
		};
	}
	using Display = void (*)(int);
	*module.symbol<Display>("display_error_zem_update") = [](int) {
		displays++;
	};

	/* Polls from before the first record, however late its thread starts. */
	const sim::Poller poller = kernel.sysfs.poll("zem/trace");
	sim::Thread daemon = kernel.spawn("daemon", [=, this] { read_like_a_daemon(poller); });
	{
		std::vector<sim::Thread> threads;
		threads.reserve(kProducers + 2);
		for (unsigned int cpu = 0; cpu < kProducers; cpu++)
			threads.push_back(
				kernel.spawn("producer", [=, this] { produce(cpu); }, cpu));
		threads.push_back(kernel.spawn("switch", [this] { toggle(); }));
		if (GetParam() != Company::kKmemProvider)
			threads.push_back(
				kernel.spawn("settings", [this] { write_and_read_settings(); }));
	}
	/* The collector ends, and later uploads nothing: only fillers follow. */
	EXPECT_EQ(store("trace_on", "0"), 1);
	EXPECT_EQ(store("kmemind_interval", "0"), 1);
	EXPECT_EQ(store("sched_interval", "0"), 1);
	EXPECT_EQ(store("trace_on", "1"), 1);
	flush();
	daemon_stops = true;
	daemon.join();

	EXPECT_EQ(kernel.log.count("trace_on disable\n"), 4U);
	for (const sim::LogLine &line : log())
		EXPECT_TRUE(line.text.starts_with("trace_on ") || line.text.starts_with("system "))
			<< line;

	const sim::RingStatistics ring = kernel.ring_buffers.statistics();
	EXPECT_EQ(ring.commits, ring.reads + ring.overruns);
	EXPECT_EQ(ring.refusals, 0U);
	EXPECT_GT(received, kProducers);

	std::atomic<bool> unloaded{false};
	sim::Thread clock = kernel.spawn("clock", [&] {
		while (!unloaded) {
			kernel.advance(50);
			std::this_thread::sleep_for(1ms);
		}
	});
	/* Only fillers can remain, without a notification. */
	for (int i = 0; i < 1000 && received < ring.commits - ring.overruns; i++) {
		std::this_thread::sleep_for(1ms);
		received += hand_back() / (sizeof(zem_record_header) + kFillerSize);
	}
	EXPECT_EQ(received, ring.commits - ring.overruns);
	unload();
	unloaded = true;
	clock.join();

	/*
	 * Without a reader, the consumer's waits may have timed out. To the collector, a jump of
	 * the clock looks like a suspend.
	 */
	for (const sim::LogLine &line : log())
		EXPECT_THAT(line, ::testing::AnyOf(sim::info("read data timeout\n"),
						   sim::info("system suspend and resume\n")));
}

class HandBackStorm : public UnloadedTest {
protected:
	HandBackStorm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = kProducers})
	{
		load();
	}
};

TEST_F(HandBackStorm, readers_at_once_get_every_byte_exactly_once)
{
	constexpr size_t kSize = 300;
	std::atomic<bool> stops{false};
	std::atomic<unsigned long> bytes{0};
	{
		std::vector<sim::Thread> readers;
		for (const char *file : {"trace", "usb"})
			readers.push_back(kernel.spawn("reader", [&, file] {
				while (!stops) {
					bytes += hand_back(file);
					std::this_thread::sleep_for(20us);
				}
			}));
		{
			std::vector<sim::Thread> producers;
			for (unsigned int cpu = 0; cpu < kProducers; cpu++)
				producers.push_back(kernel.spawn(
					"producer",
					[&] {
						for (int i = 0; i < 1000; i++) {
							push_sized(kSize);
							std::this_thread::sleep_for(10us);
						}
					},
					cpu));
		}
		while (kernel.ring_buffers.statistics().entries != 0)
			std::this_thread::sleep_for(1ms);
		const sim::RingStatistics ring = kernel.ring_buffers.statistics();
		const unsigned long expected = (ring.commits - ring.overruns) * kSize;
		for (int i = 0; i < 1000 && bytes != expected; i++)
			std::this_thread::sleep_for(1ms);
		EXPECT_EQ(bytes, expected);
		stops = true;
	}
}

std::string name_of(const ::testing::TestParamInfo<Company> &info)
{
	constexpr const char *kNames[] = {"with_kmem_provider", "with_trigger_writer", "with_both"};
	return kNames[static_cast<size_t>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(Storms, Storm,
			 ::testing::Values(Company::kKmemProvider, Company::kTriggerWriter,
					   Company::kBoth),
			 name_of);

} /* namespace test */
