// SPDX-License-Identifier: GPL-2.0
/*
 * Compares the readers:
 *
 *	throughput rates FILE
 *
 * searches the rate at which each begins to lose records, and prints "READER|SIZE|CPUS|RATE|LIMIT".
 * RATE is the highest rate tried without a loss, in records a second of all CPUs together. LIMIT is
 * what ended the search: loss, producers (they did not reach a higher rate), or disk.
 *
 *	throughput costs FILE
 *
 * prints "READER|SIZE|READER_NS|KERNEL_NS": the CPU time for each record at a low rate, of the
 * reader's threads and of zem's consumer.
 */
#include "readers.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr const char *kFlood = "/sys/kernel/debug/zem_flood";
constexpr std::array<unsigned int, 2> kSizes{36, 456};
constexpr std::array<unsigned int, 3> kCpus{1, 4, 8};
/* Longer than the buffers last at the rates of interest. */
constexpr unsigned int kTrialMs = 2000;
constexpr std::uint64_t kFirstRate = 4000;
constexpr int kBisections = 3;
constexpr std::uint64_t kCostRate = 4000;
/* Of a trial. The disk has 200 MiB, and perf adds to each record. */
constexpr std::uint64_t kMostBytes = 120'000'000;
constexpr useconds_t kRestUs = 200'000;
constexpr int kMostRests = 100;

struct Trial {
	std::uint64_t pushed;
	std::uint64_t received;
	std::uint64_t flood_ns;
	std::uint64_t reader_ns;
	std::uint64_t kernel_ns;
};

int ready_pipe[2];

void say_ready()
{
	if (::write(ready_pipe[1], "", 1) != 1)
		die("pipe");
}

void stop(int)
{
	must_stop = true;
}

std::uint64_t first_number(const fs::path &path)
{
	std::uint64_t number = 0;
	std::ifstream(path) >> number;
	return number;
}

/* ns that the threads of a process have run. */
std::uint64_t run_time(const fs::path &process)
{
	std::uint64_t sum = 0;
	std::error_code error;
	for (const auto &thread : fs::directory_iterator(process / "task", error))
		sum += first_number(thread.path() / "schedstat");
	return sum;
}

/* The thread that moves zem's records to the shared buffer. */
fs::path consumer()
{
	for (const auto &process : fs::directory_iterator("/proc")) {
		std::string name;
		std::getline(std::ifstream(process.path() / "comm"), name);
		if (name == "rb_consumer")
			return process.path();
	}
	errno = ESRCH;
	die("rb_consumer");
}

/* zemctl writes the head of the file when it reads; the others say that they are ready. */
void wait_until_ready(const Reader &reader, const char *file)
{
	char byte;
	if (::read(ready_pipe[0], &byte, 1) != 1)
		die(reader.name);
	std::error_code none;
	const auto is_empty = [&] {
		return !fs::exists(file, none) || fs::is_empty(file, none);
	};
	for (int rest = 0; std::string(reader.method) == "zem" && is_empty(); rest++) {
		if (rest == kMostRests)
			die("zemctl record does not begin");
		::usleep(kRestUs);
	}
}

/* Waits until the reader has nothing more to do for a second. Its polls cost little. */
void wait_until_drained(const fs::path &reader, const fs::path &kernel)
{
	constexpr std::uint64_t kIdleNs = 3'000'000;
	std::uint64_t before = run_time(reader) + run_time(kernel);
	for (int rest = 0, idle = 0; rest < kMostRests && idle < 5; rest++) {
		::usleep(kRestUs);
		const std::uint64_t now = run_time(reader) + run_time(kernel);
		idle = now - before < kIdleNs ? idle + 1 : 0;
		before = now;
	}
}

void push(const Reader &reader, unsigned int size, unsigned int cpus, std::uint64_t rate,
	  Trial &trial)
{
	const std::string job = std::string(reader.method) + " " + std::to_string(size) + " " +
				std::to_string(cpus) + " " + std::to_string(rate / cpus) + " " +
				std::to_string(kTrialMs);
	const int fd = ::open(kFlood, O_WRONLY | O_CLOEXEC);
	if (fd < 0 || ::write(fd, job.data(), job.size()) != static_cast<ssize_t>(job.size()))
		die("zem_flood: " + job);
	::close(fd);
	std::ifstream(kFlood) >> trial.pushed >> trial.flood_ns;
}

Trial attempt(const Reader &reader, const char *file, unsigned int size, unsigned int cpus,
	      std::uint64_t rate)
{
	::unlink(file);
	if (::pipe2(ready_pipe, O_CLOEXEC))
		die("pipe");
	const pid_t child = ::fork();
	if (child < 0)
		die("fork");
	if (child == 0) {
		std::signal(SIGINT, stop);
		reader.run(file, size, say_ready);
	}
	::close(ready_pipe[1]);
	wait_until_ready(reader, file);
	::close(ready_pipe[0]);

	Trial trial{};
	const fs::path process = fs::path("/proc") / std::to_string(child);
	const fs::path kernel = consumer();
	const std::uint64_t reader_before = run_time(process);
	const std::uint64_t kernel_before = run_time(kernel);
	push(reader, size, cpus, rate, trial);
	wait_until_drained(process, kernel);
	trial.reader_ns = run_time(process) - reader_before;
	trial.kernel_ns = run_time(kernel) - kernel_before;

	int status;
	::kill(child, SIGINT);
	if (::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) > 1)
		die(std::string(reader.name) + " failed");
	trial.received = std::min(trial.pushed, reader.received(file, size, trial.pushed));
	return trial;
}

bool is_producers_limit(const Trial &trial, std::uint64_t rate)
{
	const double reached =
		static_cast<double>(trial.pushed) / static_cast<double>(trial.flood_ns) * 1e9;
	return reached < 0.8 * static_cast<double>(rate);
}

/* Doubles the rate until records are lost, then halves the interval of the limit. */
void search(const Reader &reader, const char *file, unsigned int size, unsigned int cpus)
{
	std::uint64_t best = 0, lowest_loss = 0;
	const char *limit = "disk";
	for (std::uint64_t rate = kFirstRate, bisections = 0;
	     rate * size * kTrialMs / 1000 <= kMostBytes;) {
		const Trial trial = attempt(reader, file, size, cpus, rate);
		std::fprintf(stderr,
			     "%s: %u bytes, %u CPUs, %" PRIu64 "/s: %" PRIu64 " of %" PRIu64 "\n",
			     reader.name, size, cpus, rate, trial.received, trial.pushed);
		if (trial.received == trial.pushed) {
			best = trial.pushed * 1'000'000'000 / trial.flood_ns;
			if (is_producers_limit(trial, rate)) {
				limit = "producers";
				break;
			}
		} else {
			limit = "loss";
			lowest_loss = rate;
		}
		if (!lowest_loss) {
			rate *= 2;
			continue;
		}
		if (++bisections > kBisections)
			break;
		const std::uint64_t from = best ? best : kFirstRate / 2;
		rate = (from + lowest_loss) / 2;
	}
	std::printf("%s|%u|%u|%" PRIu64 "|%s\n", reader.name, size, cpus, best, limit);
	std::fflush(stdout);
}

void search_all(const char *file)
{
	for (const unsigned int size : kSizes)
		for (const unsigned int cpus : kCpus)
			for (const Reader *reader = kReaders; reader->name; reader++)
				search(*reader, file, size, cpus);
}

void print_costs(const char *file)
{
	for (const unsigned int size : kSizes) {
		for (const Reader *reader = kReaders; reader->name; reader++) {
			const Trial trial = attempt(*reader, file, size, 1, kCostRate);
			errno = ENOBUFS;
			if (trial.received != trial.pushed)
				die(std::string(reader->name) + ": " +
				    std::to_string(trial.received) + " of " +
				    std::to_string(trial.pushed) + " records");
			const std::uint64_t records = std::max<std::uint64_t>(trial.received, 1);
			std::printf("%s|%u|%" PRIu64 "|%" PRIu64 "\n", reader->name, size,
				    trial.reader_ns / records, trial.kernel_ns / records);
			std::fflush(stdout);
		}
	}
}

} // namespace

int main(int count, char **words)
{
	const std::string what = count == 3 ? words[1] : "";
	if (what == "rates") {
		search_all(words[2]);
	} else if (what == "costs") {
		print_costs(words[2]);
	} else {
		std::fputs("usage: throughput rates|costs FILE\n", stderr);
		return 2;
	}
	return 0;
}
