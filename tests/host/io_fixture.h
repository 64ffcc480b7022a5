/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Tests of the IO indicators: bios of the four disks, tasks that wait for them, UIDs that submit
 * them, and the snapshot as bytes.
 */
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "host/fixture.h"
#include "host/units.h"
#include "io/bio_counters.h"

namespace test {

inline constexpr const char *kPaths[] = {
	"/dev/block/sda",
	"/dev/block/sde",
	"/dev/block/by-name/super",
	"/dev/block/by-name/userdata",
};
inline constexpr size_t kDevices = 4;

/* Operations and flags of a bio. */
inline constexpr u32 kReadBio = 0;
inline constexpr u32 kWriteBio = 1;
inline constexpr u32 kDiscardBio = 3;
inline constexpr u32 kSyncFlag = 0x800;
inline constexpr u16 kForegroundMark = 0x2000;

struct BioOptions {
	size_t device = 0;
	u32 operation = kReadBio; /* with flags */
	u64 latency = 2 * kMs; /* ns, when it is completed now */
	u32 pages = 1;
	bool in_foreground = false;
	int submitter = 0;
};

/* An expected snapshot as bytes. */
class Image {
public:
	void put32(size_t offset, u32 value) { put(offset, &value, sizeof(value)); }
	void put64(size_t offset, u64 value) { put(offset, &value, sizeof(value)); }
	void put(size_t offset, const void *value, size_t size);

	/* Offsets, in steps of 4 bytes, at which @kio differs. */
	[[nodiscard]] std::vector<size_t> differences(const zem_kio &kio) const;

private:
	std::array<std::byte, 3936> bytes_{};
};

class IoTest : public ZemTest {
protected:
	explicit IoTest(const sim::Options &options = {}) : ZemTest(options)
	{
		io_indicators = true;
	}

	/* Only kio records. */
	void SetUp() override;

	/* Makes the module find the four disks, and takes its message. */
	void find_devices();
	[[nodiscard]] block_device &device(size_t index) { return kernel.blocks.at(kPaths[index]); }

	/* Advances the monotonic clock to @ns after the time bits of a stamp wrap. */
	void step_past_the_stamp_s_wrap(u64 ns);

	[[nodiscard]] bio make_bio(const BioOptions &options = {});
	/* Completes a bio in an interrupt. Return: the bio afterwards. */
	bio complete(const BioOptions &options = {});
	/* The counters of the module since the last fold. */
	[[nodiscard]] zem::BioCounters &counters();
	/* The sum of all slots of the histogram. */
	[[nodiscard]] u32 counted_latencies();

	/* Collects. Return: the snapshot after it. */
	[[nodiscard]] zem_kio collect();
	/* The module's snapshot. */
	[[nodiscard]] zem_kio &snapshot();
	/* Triggers a collection. Return: its kio records. */
	[[nodiscard]] std::vector<zem_kio> upload();

	/* Sets the UID of the calling task. */
	static void as_uid(unsigned int uid) { sim::Scheduler::current().fields.uid = uid; }
	/* Submits a bio as a UID. Return: whether it has the foreground mark. */
	bool submit(unsigned int uid);
	[[nodiscard]] u32 state_of(unsigned int uid);
	/* Marks a bio according to the current task's UID, as its other users do. */
	void mark(bio &marked);
	/* Writes to /proc/zem_procstat. */
	ssize_t set(std::string_view text) { return kernel.proc.write("zem_procstat/set", text); }
	ssize_t forget(std::string_view text)
	{
		return kernel.proc.write("zem_procstat/remove_uid_range", text);
	}

	[[nodiscard]] std::string view(const std::string &name);
};

/* A task that fulfils all conditions of the IO counters, unless a test removes one. */
class SvpIoTest : public IoTest {
protected:
	void SetUp() override;

	[[nodiscard]] zem_svp_stats &stats() { return kernel.platform.stats(*task); }

	sim::Task *task = nullptr;
};

/* A condition that a task can lack. */
struct Lack {
	const char *name;
	void (*take_away)(sim::Task &task);
};
extern const std::vector<Lack> kLacks;

/* Return: whether nothing was counted. */
[[nodiscard]] bool is_clear(const zem_svp_stats &stats);

/* Formats like the C library's printf. */
[[nodiscard]] std::string printed(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

} /* namespace test */
