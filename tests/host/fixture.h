/* SPDX-License-Identifier: GPL-2.0 */
/*
 * What every test stands on: a simulated kernel, the module in it, and at the end the demand
 * that nothing is left, nothing went wrong, and every log message was expected.
 */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

/* Records back to back, up to the first header of zeros. */
[[nodiscard]] std::vector<Record> parse_records(std::span<const std::byte> bytes);
[[nodiscard]] std::vector<std::string> payloads(const std::vector<Record> &records);

/* The module is not loaded yet. */
class UnloadedTest : public ::testing::Test {
protected:
	explicit UnloadedTest(const sim::Options &options = {});
	void TearDown() override;

	/* Loads, which has to work, and takes what start-up says about the collectors. */
	void load();
	/* The same from the log alone, for tests that load otherwise. */
	void expect_collectors_started();
	/* The module's kioind_on, 1 or 0. */
	void switch_io_indicators(int on);
	/* rmmod, with the one more record that the consumer needs to end; looks at what is left. */
	void unload();

	[[nodiscard]] Setter *setter(const std::string &channel) const;
	/* One record from the calling task, on its CPU. */
	void push(const std::string &payload, const std::string &channel = "test",
		  unsigned int sub_type = 0);
	/* One record that is @size bytes long with its header, filled with @fill. */
	void push_sized(size_t size, char fill = 'x');

	ssize_t store(const std::string &file, std::string_view text);
	[[nodiscard]] std::string show(const std::string &file);
	/* Reads @file as user space does when it gives the buffer back. Return: its bytes. */
	unsigned int hand_back(const std::string &file = "trace");
	[[nodiscard]] unsigned long notifications();

	/* What a user sees in a mapping of the shared buffer. */
	[[nodiscard]] std::span<std::byte> shared();
	[[nodiscard]] std::vector<Record> records();
	/* Channels of the records since the last call, in the order in which they arrived. */
	[[nodiscard]] std::vector<int> channels();
	/* All that is under way reaches the shared buffer; time stands still. */
	[[nodiscard]] std::vector<std::string> drained_payloads();

	[[nodiscard]] LogLines log();

	sim::Kernel kernel;
	sim::Module module;
	/*
	 * Tests of the IO indicators want them on. For all others the disks have been found, and
	 * there is no record of them, and no message.
	 */
	bool io_indicators = false;
	/* What start-up says about the groups that it finds. */
	LogLines discovery{sim::info("root 1\n")};
};

/* A task record of a platform that answers with an error. */
[[nodiscard]] inline task_ext *error_value(long error)
{
	return reinterpret_cast<task_ext *>(error);
}

class ZemTest : public UnloadedTest {
protected:
	using UnloadedTest::UnloadedTest;
	void SetUp() override;
};

/* With sub-buffers that hold the largest record. */
class LargeRecordTest : public ZemTest {
protected:
	LargeRecordTest() : ZemTest({.sub_buffer_size = 16384}) {}
};

} /* namespace test */
