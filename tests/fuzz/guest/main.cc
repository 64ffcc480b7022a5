// SPDX-License-Identifier: GPL-2.0
/*
 * zemfuzz writes random and structured bytes to every writable file of the module in the guest.
 * Other workers read all its files, make system calls on its device, and unload and load it.
 * scripts/vm checks that the kernel survives. zemfuzz checks that the run was complete, and that
 * the module works afterwards.
 */
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/zem.h>

#include "workers.h"

namespace fuzz {

namespace {

struct Options {
	std::uint64_t stores = 1'000'000;
	std::uint64_t seed = 0;
	bool has_seed = false;
	const char *module_path = nullptr;
};

[[noreturn]] void usage()
{
	std::fprintf(stderr, "usage: zemfuzz [--stores N] [--seed N] MODULE\n");
	std::exit(2);
}

std::uint64_t number(const char *text)
{
	char *end;
	errno = 0;
	const unsigned long long value = std::strtoull(text, &end, 0);
	if (end == text || *end || errno)
		usage();
	return value;
}

Options parse(int argc, char **argv)
{
	Options options;
	for (int i = 1; i < argc; i++) {
		const bool has_value = i + 1 < argc;
		if (!std::strcmp(argv[i], "--stores") && has_value) {
			options.stores = number(argv[++i]);
		} else if (!std::strcmp(argv[i], "--seed") && has_value) {
			options.seed = number(argv[++i]);
			options.has_seed = true;
		} else if (argv[i][0] != '-' && !options.module_path) {
			options.module_path = argv[i];
		} else {
			usage();
		}
	}
	if (!options.module_path || !options.stores)
		usage();
	if (!options.has_seed &&
	    ::getrandom(&options.seed, sizeof(options.seed), 0) != sizeof(options.seed))
		give_up("getrandom");
	return options;
}

using Work = std::function<void(const Worker &)>;

pid_t start(const Worker &worker, unsigned int uid, const Work &work)
{
	const pid_t process = ::fork();
	if (process < 0)
		give_up("fork");
	if (process > 0)
		return process;
	if (uid && (::setresgid(uid, uid, uid) || ::setresuid(uid, uid, uid)))
		give_up("setresuid");
	::signal(SIGPIPE, SIG_IGN);
	work(worker);
	std::exit(0);
}

/* Return: the workers' processes. */
std::vector<pid_t> start_all(Ledger &ledger, const Options &options)
{
	const Work module = [&](const Worker &worker) {
		work_on_module(worker, options.module_path);
	};
	const struct {
		unsigned int uid;
		Work work;
	} kinds[] = {
		{0, work_on_stores},
		{0, work_on_stores},
		{0, work_on_stores},
		{0, work_on_stores},
		{kAppUid, work_on_stores},
		{0, work_on_trace_switch},
		{0, work_on_reads},
		{kAppUid, work_on_reads},
		{0, work_on_device},
		{0, work_on_device},
		{0, module},
	};
	std::vector<pid_t> processes;
	std::fflush(nullptr);
	for (const auto &kind : kinds)
		processes.push_back(
			start({ledger, options.seed, static_cast<unsigned int>(processes.size())},
			      kind.uid, kind.work));
	return processes;
}

void report_progress(const Ledger &ledger, std::time_t begin)
{
	std::printf("%5lld s: %llu of %llu stores, %llu loads\n",
		    static_cast<long long>(std::time(nullptr) - begin),
		    static_cast<unsigned long long>(ledger.stores.load()),
		    static_cast<unsigned long long>(ledger.wanted_stores),
		    static_cast<unsigned long long>(ledger.loads.done()));
	std::fflush(stdout);
}

/* Return: whether all processes ended without an error. A worker that dies stops the run. */
bool wait_for_all(Ledger &ledger, std::vector<pid_t> processes)
{
	constexpr int kSecondsPerLine = 10;
	const std::time_t begin = std::time(nullptr);
	std::time_t next = begin + kSecondsPerLine;
	bool well = true;
	while (!processes.empty()) {
		::usleep(100'000);
		for (std::size_t i = 0; i < processes.size();) {
			int status;
			if (::waitpid(processes[i], &status, WNOHANG) != processes[i]) {
				i++;
				continue;
			}
			processes.erase(processes.begin() + static_cast<std::ptrdiff_t>(i));
			if (status) {
				std::fprintf(stderr, "fuzz: a worker ended with status 0x%x\n",
					     status);
				ledger.stopping = true;
				well = false;
			}
		}
		if (std::time(nullptr) >= next) {
			report_progress(ledger, begin);
			next += kSecondsPerLine;
		}
	}
	report_progress(ledger, begin);
	return well;
}

/* Return: whether a new record reaches the shared buffer. */
bool carries_a_record()
{
	constexpr char kText[] = "the module works";
	const int device = ::open(ZEM_SHARED_DEVICE, O_RDONLY | O_CLOEXEC);
	void *buffer = ::mmap(nullptr, ZEM_SHARED_SIZE, PROT_READ, MAP_SHARED, device, 0);
	const int channel = ::open("/sys/zem/test", O_WRONLY | O_CLOEXEC);
	bool arrived = false;
	if (buffer == MAP_FAILED || ::write(channel, kText, sizeof(kText)) != sizeof(kText))
		give_up("the module after the run");
	for (int tries = 0; tries < 600 && !arrived; tries++) {
		::usleep(50'000);
		arrived = ::memmem(buffer, ZEM_SHARED_SIZE, kText, sizeof(kText)) != nullptr;
	}
	::munmap(buffer, ZEM_SHARED_SIZE);
	::close(channel);
	::close(device);
	if (!arrived)
		std::fprintf(stderr, "fuzz: after the run no record arrives\n");
	return arrived;
}

int run(const Options &options)
{
	Ledger &ledger = make_ledger();
	ledger.wanted_stores = options.stores;
	std::printf("seed %llu\n", static_cast<unsigned long long>(options.seed));
	if (!find_files(ledger))
		return 1;
	bool well = wait_for_all(ledger, start_all(ledger, options));
	if (!reload_module(ledger, options.module_path)) {
		std::fprintf(stderr, "fuzz: the module does not reload after the run\n");
		well = false;
	} else {
		well = carries_a_record() && well;
	}
	print_summary(ledger);
	well = check_completeness(ledger) && well;
	std::printf("seed %llu: %s\n", static_cast<unsigned long long>(options.seed),
		    well ? "passed" : "failed");
	return well ? 0 : 1;
}

} // namespace

} // namespace fuzz

int main(int argc, char **argv)
{
	return fuzz::run(fuzz::parse(argc, argv));
}
