/* SPDX-License-Identifier: GPL-2.0 */
/*
 * Marks: what a capture has beside its records. A mark has the form of a record with the channel
 * 255, which does not exist. Its sub_type is the kind of mark, its timestamp the time of writing.
 *
 * A reader skips marks of kinds that it does not know. Later versions may append members to a
 * payload: a reader ignores them, and takes members that a shorter payload lacks as 0.
 */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "base/bytes.h"

namespace zemctl {

inline constexpr std::uint8_t kMarkChannel = 255;

enum class MarkKind : std::uint8_t {
	kGap = 1, /* CaptureTotals: records are missing, or may be missing, since the last gap */
	kEnd = 2, /* CaptureTotals: the capture is complete, nothing follows */
	kClock = 3, /* ClockReading */
	kCounters = 4, /* ModuleCounters */
	kMachine = 5, /* MachineDescription */
	kCpus = 6, /* CpuDescription for each CPU */
	kPackages = 7, /* text: lines with a UID, a space and a package; may have several marks */
};

inline constexpr std::uint8_t kMarkKinds = 7;

/* The totals of everything before the mark in this file. Version 1 has the first four members. */
struct CaptureTotals {
	std::uint64_t records;
	std::uint64_t bytes; /* of the records, including their headers */
	std::uint64_t lost_bytes; /* of the shared buffer; a lower bound */
	std::uint64_t gaps;
	std::uint64_t dropped_records; /* because the writing of the file was too slow */
	std::uint64_t dropped_bytes;
	std::uint64_t kernel_lost; /* records that the module counted as lost */
};

inline constexpr std::uint32_t kTotalsSizeV1 = 32;

static_assert(sizeof(CaptureTotals) == 56);
static_assert(offsetof(CaptureTotals, records) == 0);
static_assert(offsetof(CaptureTotals, bytes) == 8);
static_assert(offsetof(CaptureTotals, lost_bytes) == 16);
static_assert(offsetof(CaptureTotals, gaps) == 24);
static_assert(offsetof(CaptureTotals, dropped_records) == 32);
static_assert(offsetof(CaptureTotals, dropped_bytes) == 40);
static_assert(offsetof(CaptureTotals, kernel_lost) == 48);

/* Clocks of the machine that were read one after another, in nanoseconds. */
struct ClockReading {
	std::uint64_t realtime; /* since the epoch, as in records */
	std::uint64_t monotonic;
	std::uint64_t boottime;
	std::int32_t utc_offset; /* seconds that local time is ahead of UTC */
	std::uint32_t uncertainty; /* the time that the readings took */
};

static_assert(sizeof(ClockReading) == 32);
static_assert(offsetof(ClockReading, realtime) == 0);
static_assert(offsetof(ClockReading, monotonic) == 8);
static_assert(offsetof(ClockReading, boottime) == 16);
static_assert(offsetof(ClockReading, utc_offset) == 24);
static_assert(offsetof(ClockReading, uncertainty) == 28);

/* The files of /sys/module/zem/counters, in the order of docs/abi/sysfs-module-zem-counters. */
inline constexpr std::array<std::string_view, 9> kModuleCounters = {
	"records_pushed",    "records_overwritten", "records_refused",
	"records_too_large", "records_dropped",	    "notify_timeouts",
	"empty_passes",	     "uids_refused",	    "svp_tasks_refused",
};

struct ModuleCounters {
	std::uint64_t known; /* bit n: values[n] is known */
	std::uint64_t values[kModuleCounters.size()];
};

static_assert(sizeof(ModuleCounters) == 80);
static_assert(offsetof(ModuleCounters, known) == 0);
static_assert(offsetof(ModuleCounters, values) == 8);

/* Texts end with a zero. One that is not known is empty. */
struct MachineDescription {
	std::uint32_t page_size;
	std::uint32_t cpus; /* that are possible */
	char boot_id[40];
	char kernel_release[72]; /* as uname -r */
	char model[128]; /* of the device tree or of DMI */
};

static_assert(sizeof(MachineDescription) == 248);
static_assert(offsetof(MachineDescription, page_size) == 0);
static_assert(offsetof(MachineDescription, cpus) == 4);
static_assert(offsetof(MachineDescription, boot_id) == 8);
static_assert(offsetof(MachineDescription, kernel_release) == 48);
static_assert(offsetof(MachineDescription, model) == 120);

struct CpuDescription {
	std::uint32_t cpu;
	std::uint32_t cluster; /* from 0, in the order of their first CPUs */
	std::uint32_t capacity; /* cpu_capacity; 0: unknown */
	std::uint32_t reserved;
};

static_assert(sizeof(CpuDescription) == 16);
static_assert(offsetof(CpuDescription, cpu) == 0);
static_assert(offsetof(CpuDescription, cluster) == 4);
static_assert(offsetof(CpuDescription, capacity) == 8);
static_assert(offsetof(CpuDescription, reserved) == 12);

/* A mark as read. The payload is valid as long as a record that was read instead would be. */
struct Mark {
	MarkKind kind;
	std::uint64_t time;
	Bytes payload;

	/* Returns the payload as the structure of this kind of mark. */
	template <typename T>
	T as() const
	{
		T value = {};
		std::memcpy(&value, payload.data(), std::min(sizeof(value), payload.size()));
		return value;
	}
	CaptureTotals totals() const { return as<CaptureTotals>(); }
};

/* Returns the CPUs of a kCpus mark. */
std::vector<CpuDescription> cpus_of(const Mark &mark);

struct PackageName {
	std::uint32_t uid;
	std::string_view package; /* in the lines or the mark */
};

/* Returns the packages in lines with a UID, a space and a name; others are left out. */
std::vector<PackageName> packages_in(std::string_view lines);
/* Returns the packages of a kPackages mark. */
std::vector<PackageName> packages_of(const Mark &mark);

/* Returns what was added to each total since @before; 0 for one that has become less. */
CaptureTotals growth_of(const CaptureTotals &now, const CaptureTotals &before);

} // namespace zemctl
