// SPDX-License-Identifier: GPL-2.0
/* Finds the module's files, counts the calls, and judges the run. */
#include "ledger.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>
#include <string_view>

#include <sys/mman.h>
#include <sys/stat.h>

#include "device.h"

namespace fuzz {

namespace fs = std::filesystem;

namespace {

/* All folders of the module. Their files are discovered, so that a new file is never missed. */
constexpr const char *kFolders[] = {
	"/sys/zem",
	"/sys/kioind",
	"/sys/module/zem/counters",
	"/proc/svp_metrics",
	"/proc/sched_metrics",
	"/proc/load_metrics",
	"/proc/cgroup_metrics",
	"/proc/zem_procstat",
	"/proc/morva_sched_healthinfo",
};

/* One file of each kind. If one is missing, the folders are not the module's. */
constexpr const char *kExpected[] = {
	"/sys/zem/trace",
	"/sys/zem/battery",
	"/sys/zem/trace_on",
	"/sys/zem/trigger",
	"/sys/zem/rb_size",
	"/sys/zem/svp_interval",
	"/sys/kioind/show1_diskstats",
	"/proc/svp_metrics/svp_metrics_enabled",
	"/proc/sched_metrics/sched_metrics_enabled",
	"/proc/load_metrics/load_metrics_report",
	"/proc/cgroup_metrics/cgroup_metrics_enabled",
	"/proc/zem_procstat/set",
	"/proc/zem_procstat/remove_uid_range",
	"/proc/morva_sched_healthinfo/sched_healthinfo_enable",
};

constexpr std::size_t kLeastWritableFiles = 40;

/* Of this number of stores to a file, at least one should have succeeded. */
constexpr std::uint64_t kEnough = 100;

/* Files that root may open for writing although every write fails. */
constexpr const char *kRefuseAll[] = {
	"/proc/morva_sched_healthinfo/sched_healthinfo",
	"/sys/kioind/show2_uid_io",
	"/sys/kioind/show3_bio_time",
};

bool refuses_all(const char *path)
{
	for (const char *other : kRefuseAll)
		if (!std::strcmp(path, other))
			return true;
	return false;
}

bool add_file(Ledger &ledger, const std::string &path)
{
	struct stat status;
	if (::stat(path.c_str(), &status) || !S_ISREG(status.st_mode))
		return true;
	FileLedger &file = ledger.files[ledger.file_count];
	if (ledger.file_count == ledger.files.size() || path.size() >= sizeof(file.path)) {
		std::fprintf(stderr, "fuzz: no room for %s\n", path.c_str());
		return false;
	}
	std::strcpy(file.path, path.c_str());
	file.mode = status.st_mode & 0777;
	ledger.file_count++;
	return true;
}

} // namespace

std::string Outcomes::errors() const
{
	std::string names;
	for (int error = 1; error < static_cast<int>(64 * errors_.size()); error++) {
		if (!has(error))
			continue;
		const char *name = ::strerrorname_np(error);
		names += (names.empty() ? "" : " ") + (name ? name : std::to_string(error));
	}
	return names;
}

Ledger &make_ledger()
{
	void *memory = ::mmap(nullptr, sizeof(Ledger), PROT_READ | PROT_WRITE,
			      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
	if (memory == MAP_FAILED)
		give_up("mmap");
	return *new (memory) Ledger;
}

bool find_files(Ledger &ledger)
{
	std::set<std::string> paths; /* sorted: a seed selects the same files everywhere */
	for (const char *folder : kFolders) {
		std::error_code error;
		for (const fs::directory_entry &entry : fs::directory_iterator(folder, error))
			paths.insert(entry.path());
	}
	for (const std::string &path : paths)
		if (!add_file(ledger, path))
			return false;

	bool complete = true;
	for (const char *path : kExpected) {
		if (paths.contains(path))
			continue;
		std::fprintf(stderr, "fuzz: %s is not there\n", path);
		complete = false;
	}
	std::size_t writable = 0;
	for (std::size_t i = 0; i < ledger.file_count; i++)
		writable += ledger.files[i].is_writable();
	if (writable < kLeastWritableFiles) {
		std::fprintf(stderr, "fuzz: only %zu files are writable\n", writable);
		complete = false;
	}
	return complete;
}

namespace {

void print_line(const char *name, const Outcomes &outcomes)
{
	std::printf("  %-52s %9llu %9llu  %s\n", name,
		    static_cast<unsigned long long>(outcomes.calls()),
		    static_cast<unsigned long long>(outcomes.done()), outcomes.errors().c_str());
}

void print_heading(const char *what)
{
	std::printf("  %-52s %9s %9s  errors\n", what, "calls", "accepted");
}

} // namespace

void print_summary(const Ledger &ledger)
{
	print_heading("stores to");
	std::size_t written = 0;
	Outcomes all_stores, all_reads, all_calls;
	for (std::size_t i = 0; i < ledger.file_count; i++) {
		const FileLedger &file = ledger.files[i];
		if (!file.is_writable())
			continue;
		print_line(file.path, file.stores);
		written += file.stores.calls() > 0;
		all_stores.include_errors(file.stores);
	}
	std::size_t read = 0;
	std::uint64_t reads = 0;
	print_heading("reads of");
	for (std::size_t i = 0; i < ledger.file_count; i++) {
		const FileLedger &file = ledger.files[i];
		if (!file.is_readable())
			continue;
		print_line(file.path, file.reads);
		read += file.reads.calls() > 0;
		reads += file.reads.calls();
		all_reads.include_errors(file.reads);
	}
	print_heading("/dev/zem_shared");
	std::uint64_t calls = 0;
	for (std::size_t i = 0; device_call_name(i); i++) {
		print_line(device_call_name(i), ledger.device[i]);
		calls += ledger.device[i].calls();
		all_calls.include_errors(ledger.device[i]);
	}
	print_heading("module");
	print_line("load", ledger.loads);
	print_line("unload", ledger.unloads);
	std::printf(
		"errors of stores: %s\nerrors of reads: %s\nerrors of calls on the device: %s\n",
		all_stores.errors().c_str(), all_reads.errors().c_str(),
		all_calls.errors().c_str());
	std::printf("%llu stores to %zu files, %llu reads of %zu files, %llu calls on the device, "
		    "%llu loads and %llu unloads\n",
		    static_cast<unsigned long long>(ledger.stores.load()), written,
		    static_cast<unsigned long long>(reads), read,
		    static_cast<unsigned long long>(calls),
		    static_cast<unsigned long long>(ledger.loads.done()),
		    static_cast<unsigned long long>(ledger.unloads.done()));
}

bool check_completeness(const Ledger &ledger)
{
	bool complete = true;
	const auto demand = [&complete](bool holds, const char *what, const char *lacks) {
		if (!holds)
			std::fprintf(stderr, "fuzz: %s: %s\n", what, lacks);
		complete = complete && holds;
	};
	for (std::size_t i = 0; i < ledger.file_count; i++) {
		const FileLedger &file = ledger.files[i];
		demand(!file.is_writable() || file.stores.calls() > 0, file.path, "never written");
		demand(!file.is_writable() || refuses_all(file.path) ||
			       file.stores.calls() < kEnough || file.stores.done() > 0,
		       file.path, "no store was accepted");
		/* Empty channels and proc files without text read 0 bytes, so the calls count. */
		demand(!file.is_readable() || file.reads.calls() > 0, file.path, "never read");
	}
	for (std::size_t i = 0; device_call_name(i); i++)
		demand(ledger.device[i].calls() > 0, device_call_name(i), "never called");
	demand(ledger.unloads.done() > 0, "module", "never unloaded");
	demand(ledger.loads.calls() == ledger.loads.done(), "module", "a load failed");
	demand(ledger.stores.load() >= ledger.wanted_stores, "stores", "not all were done");
	return complete;
}

void give_up(const char *what)
{
	std::fprintf(stderr, "fuzz: %s: %s\n", what, std::strerror(errno));
	std::exit(2);
}

} // namespace fuzz
