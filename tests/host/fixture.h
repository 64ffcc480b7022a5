/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The base of every test: a simulated kernel with the module, and the final checks that nothing is
 * left behind, that there was no problem, and that every log message was expected.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inside/inside.h"
#include "platform/contract.h"
#include "sim/module.h"
#include "uapi/linux/zem.h"

namespace test {

using LogLines = std::vector<sim::LogLine>;
using Setter = void(unsigned long long reserved, const void *data, int len, unsigned int sub_type);

inline constexpr sim::Ticks kSecond = sim::kHz;
inline constexpr sim::Ticks kCycle = 1250;
inline constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

inline constexpr const char *kChannels[] = {
	"trace", "usb",	    "display",	 "kmem", "sched",  "kio",	  "dp",
	"wifi",	 "gpu",	    "traintime", "fs",	 "test",   "kzerod",	  "smartpa",
	"svp",	 "charger", "load",	 "cpu",	 "cgroup", "touchscreen", "battery",
};

struct Record {
	zem_record_header header;
	std::string payload;
};

/* Parses consecutive records, up to the first header of zeros. */
[[nodiscard]] std::vector<Record> parse_records(std::span<const std::byte> bytes);
[[nodiscard]] std::vector<std::string> payloads(const std::vector<Record> &records);

/* The module is not loaded yet. */
class UnloadedTest : public ::testing::Test {
protected:
	explicit UnloadedTest(const sim::Options &options = {});
	void TearDown() override;

	/* Loads successfully, and takes the messages about the families. */
	void load();
	/* Only takes these messages, for tests that load in another way. */
	void expect_collectors_started();
	/* Sets the module's kioind_on, 1 or 0. */
	void switch_io_indicators(int on);
	/* rmmod, with the record that the consumer needs to end. Checks what is left behind. */
	void unload();

	[[nodiscard]] Setter *setter(const std::string &channel) const;
	/* Pushes a record from the calling task, on its CPU. */
	void push(const std::string &payload, const std::string &channel = "test",
		  unsigned int sub_type = 0);
	/* Pushes a record of @size bytes with its header, filled with @fill. */
	void push_sized(size_t size, char fill = 'x');

	ssize_t store(const std::string &file, std::string_view text);
	[[nodiscard]] std::string show(const std::string &file);
	/* Reads @file as a reader does to hand the buffer back. Return: the number of bytes. */
	unsigned int hand_back(const std::string &file = "trace");
	[[nodiscard]] unsigned long notifications();

	/* A user's mapping of the shared buffer. */
	[[nodiscard]] std::span<std::byte> shared();
	[[nodiscard]] std::vector<Record> records();
	/* Channels of the records since the last call, in order of arrival. */
	[[nodiscard]] std::vector<int> channels();
	/* Waits until all pending records are in the shared buffer, while time stands still. */
	[[nodiscard]] std::vector<std::string> drained_payloads();

	[[nodiscard]] LogLines log();

	/* Only while the module is loaded. */
	[[nodiscard]] const Inside &inside() const;

	sim::Kernel kernel;
	sim::Module module;
	/*
	 * Tests of the IO indicators set this. For all others the disks were found before, and
	 * there are neither kio records nor messages about disks.
	 */
	bool io_indicators = false;
	/* The messages of start-up about the groups. */
	LogLines discovery{sim::info("root 1\n")};
};

/* An error value instead of a task record. */
[[nodiscard]] inline task_ext *error_value(long error)
{
	return reinterpret_cast<task_ext *>(error);
}

class ZemTest : public UnloadedTest {
protected:
	using UnloadedTest::UnloadedTest;
	void SetUp() override;
};

/* Has sub-buffers that can hold the largest record. */
class LargeRecordTest : public ZemTest {
protected:
	LargeRecordTest() : ZemTest({.sub_buffer_size = 16384}) {}
};

} /* namespace test */
