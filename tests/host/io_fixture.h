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

/* Bytes of the snapshot, put where they are expected. */
class Image {
public:
	void put32(size_t offset, u32 value) { put(offset, &value, sizeof(value)); }
	void put64(size_t offset, u64 value) { put(offset, &value, sizeof(value)); }
	void put(size_t offset, const void *value, size_t size);

	/* Offsets, of 4 bytes each, where @kio is another. */
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

	/* The kio records alone. */
	void SetUp() override;

	/* Has the four disks found, with the message of it. */
	void find_devices();
	[[nodiscard]] block_device &device(size_t index) { return kernel.blocks.at(kPaths[index]); }

	/* The monotonic clock, so far past a time that the bits of a stamp don't hold any more. */
	void step_past_the_stamp_s_wrap(u64 ns);

	[[nodiscard]] bio make_bio(const BioOptions &options = {});
	/* As an interrupt tells it. Return: the bio afterwards. */
	bio complete(const BioOptions &options = {});
	/* What the module has counted and not folded yet. */
	[[nodiscard]] zem::BioCounters &counters();
	/* All of the histogram's slots together. */
	[[nodiscard]] u32 counted_latencies();

	/* A collection. Return: the snapshot after it. */
	[[nodiscard]] zem_kio collect();
	/* The snapshot where the module keeps it. */
	[[nodiscard]] zem_kio &snapshot();
	/* Collects once on demand. Return: the kio records of it. */
	[[nodiscard]] std::vector<zem_kio> upload();

	/* Who the calling task is from now on. */
	static void as_uid(unsigned int uid) { sim::Scheduler::current().fields.uid = uid; }
	/* A bio submitted by the UID. Return: whether it is one of the foreground. */
	bool submit(unsigned int uid);
	[[nodiscard]] u32 state_of(unsigned int uid);
	/* What a user of the bio asks for: the mark of the current task's UID. */
	void mark(bio &marked);
	/* Writes to /proc/zem_procstat. */
	ssize_t set(std::string_view text) { return kernel.proc.write("zem_procstat/set", text); }
	ssize_t forget(std::string_view text)
	{
		return kernel.proc.write("zem_procstat/remove_uid_range", text);
	}

	[[nodiscard]] std::string view(const std::string &name);
};

/* A task with all that the counters of IO ask for, unless a test takes something away. */
class SvpIoTest : public IoTest {
protected:
	void SetUp() override;

	[[nodiscard]] zem_svp_stats &stats() { return kernel.platform.stats(*task); }

	sim::Task *task = nullptr;
};

/* What a task can lack. */
struct Lack {
	const char *name;
	void (*take_away)(sim::Task &task);
};
extern const std::vector<Lack> kLacks;

/* The counters of a task that has counted nothing. */
[[nodiscard]] bool is_clear(const zem_svp_stats &stats);

/* Text as the C library's printf makes it. */
[[nodiscard]] std::string printed(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

} /* namespace test */
