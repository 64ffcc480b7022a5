/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The commands, one function each: the command line's values in, the exit status out. They
 * write to standard output and standard error, and throw a Failure where they fail.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <linux/zem.h>

#include "../printer.h"

namespace zemctl {

struct Paths {
	std::string sysfs = ZEM_SYSFS_DIR;
	std::string device = ZEM_SHARED_DEVICE;
	std::string proc = "/proc";
	std::string kioind = "/sys/kioind";
	std::string module = "/sys/module/zem";

	std::string counters() const { return module + "/counters"; }
};

struct StatusOptions {
	bool json = false;
};
int run_status(const Paths &paths, const StatusOptions &options);

int run_set_trace(const Paths &paths, bool on);
int run_set_interval(const Paths &paths, const std::string &family, int value);
int run_set_ring_buffer_size(const Paths &paths, int bytes);

int run_set_metrics(const Paths &paths, const std::string &family, bool on);

struct SchedOptions {
	bool json = false;
	bool cpus = false;
	bool ascii = false;
	std::optional<double> interval; /* seconds */
};
int run_sched(const Paths &paths, const SchedOptions &options);

struct SvpOptions {
	bool json = false;
};
int run_svp(const Paths &paths, const SvpOptions &options);

struct LoadOptions {
	bool json = false;
	bool ascii = false;
	double seconds = 1;
	std::optional<std::size_t> top; /* none: some as text, all as JSON */
};
int run_load(const Paths &paths, const LoadOptions &options);

struct HealthOptions {
	bool json = false;
	bool total = false; /* since the sums started, in place of an interval */
	double seconds = 1;
};
int run_health(const Paths &paths, const HealthOptions &options);

struct IoOptions {
	bool json = false;
	bool ascii = false;
	bool devices = false; /* each by itself */
};
int run_io(const Paths &paths, const IoOptions &options);

/* @uid: a number, @uids: one or two with "-" between. */
int run_fg(const Paths &paths, const std::string &uid, bool foreground);
int run_forget(const Paths &paths, const std::string &uids);

/* Takes the module out of the kernel, as delete_module(2) does; 0, or an errno value. */
using DeleteModule = std::function<int()>;
int delete_zem_module();
int run_unload(const Paths &paths, const DeleteModule &delete_module = delete_zem_module);

int run_trigger(const Paths &paths, int train_number);

struct SendOptions {
	std::string channel;
	std::optional<std::string> text; /* "-" stands for standard input */
	std::optional<std::string> file;
};
int run_send(const Paths &paths, const SendOptions &options);

/* What watch and record share. */
struct ReadOptions {
	std::optional<double> seconds;
	bool strict = false;
};

struct RecordOptions {
	ReadOptions read;
	std::string file; /* "-" stands for standard output */
	std::optional<std::uint64_t> records;
};
int run_record(const Paths &paths, const RecordOptions &options);

struct WatchOptions {
	ReadOptions read;
	PrintOptions print;
};
int run_watch(const Paths &paths, const WatchOptions &options);

struct DumpOptions {
	std::string file; /* "-" stands for standard input */
	PrintOptions print;
};
int run_dump(const DumpOptions &options);

} // namespace zemctl
