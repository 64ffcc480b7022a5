// SPDX-License-Identifier: GPL-2.0
/*
 * Fixed amounts of work for bench/cost, which runs them in a guest with one CPU. Prints
 * "INSTRUCTIONS NS" for a run: the CPU's count of the instructions of all tasks and of the kernel,
 * without idle time, and the time by the clock.
 */
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <linux/perf_event.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void die(const char *what)
{
	std::fprintf(stderr, "workload: error: %s: %s\n", what, std::strerror(errno));
	std::exit(1);
}

void check(bool holds, const char *what)
{
	if (!holds)
		die(what);
}

/* A performance counter of the first CPU, for all tasks and the kernel. */
class Counter {
public:
	Counter(std::uint32_t type, std::uint64_t config)
	{
		perf_event_attr attributes{};
		attributes.size = sizeof(attributes);
		attributes.type = type;
		attributes.config = config;
		file_ = static_cast<int>(syscall(SYS_perf_event_open, &attributes, -1, 0, -1, 0));
		check(file_ >= 0, "perf_event_open");
	}

	~Counter() { close(file_); }

	Counter(const Counter &) = delete;
	Counter &operator=(const Counter &) = delete;

	[[nodiscard]] std::uint64_t value() const
	{
		std::uint64_t count;
		check(read(file_, &count, sizeof(count)) == sizeof(count), "read a counter");
		return count;
	}

private:
	int file_;
};

Counter instructions()
{
	return {PERF_TYPE_HARDWARE, PERF_COUNT_HW_INSTRUCTIONS};
}

/* Runs @work in a child process for each index, and waits for all of them. */
void in_children(int count, const std::function<void(int)> &work)
{
	for (int i = 0; i < count; i++) {
		const pid_t child = fork();
		check(child >= 0, "fork");
		if (child == 0) {
			work(i);
			_exit(0);
		}
	}
	for (int i = 0; i < count; i++) {
		int status;
		check(wait(&status) > 0 && status == 0, "a child failed");
	}
}

void become_app(int index)
{
	check(setuid(static_cast<uid_t>(10001 + index)) == 0, "setuid");
}

/* --- Messages between many tasks ------------------------------------------------------------ */

constexpr int kGroups = 4;
constexpr int kSenders = 8;
constexpr int kReceivers = 8;
constexpr int kMessages = 50; /* from each sender to each receiver of its group */

using Message = std::array<char, 100>;

struct Channel {
	int receive;
	int send;
};

Channel make_channel(bool is_socket)
{
	int files[2];
	check((is_socket ? socketpair(AF_UNIX, SOCK_STREAM, 0, files) : pipe(files)) == 0,
	      "a channel");
	return {files[0], files[1]};
}

void send_to_all(std::span<const Channel> channels)
{
	const Message message{};
	for (int i = 0; i < kMessages; i++)
		for (const Channel &channel : channels)
			check(write(channel.send, message.data(), message.size()) ==
				      static_cast<ssize_t>(message.size()),
			      "send");
}

void receive_all(const Channel &channel)
{
	Message message;
	for (int i = 0; i < kMessages * kSenders; i++)
		for (std::size_t got = 0; got < message.size();) {
			const ssize_t more =
				read(channel.receive, message.data() + got, message.size() - got);
			check(more > 0, "receive");
			got += static_cast<std::size_t>(more);
		}
}

/* Every second group uses sockets, the others pipes. */
void run_messages(const std::string &)
{
	std::array<std::array<Channel, kReceivers>, kGroups> groups;
	for (int i = 0; i < kGroups; i++)
		for (Channel &channel : groups[i])
			channel = make_channel(i % 2);
	constexpr int kEach = kSenders + kReceivers;
	in_children(kGroups * kEach, [&](int index) {
		become_app(0);
		const auto &group = groups[index / kEach];
		const int member = index % kEach;
		if (member < kReceivers)
			receive_all(group[member]);
		else
			send_to_all(group);
	});
	for (const auto &group : groups)
		for (const Channel &channel : group) {
			close(channel.receive);
			close(channel.send);
		}
}

/* --- One message at a time ------------------------------------------------------------------ */

constexpr int kRings = 4;
constexpr int kMembers = 16;
constexpr int kRounds = 150;

/* Passes a message around the ring: each hop is a read, a write, a wake-up and a task switch. */
void run_member(std::span<const Channel> ring, int member)
{
	Message message{};
	const Channel &mine = ring[member];
	const Channel &next = ring[(member + 1) % kMembers];
	constexpr auto kSize = static_cast<ssize_t>(message.size());
	for (int round = 0; round < kRounds; round++) {
		if (member == 0)
			check(write(next.send, message.data(), kSize) == kSize, "send");
		check(read(mine.receive, message.data(), kSize) == kSize, "receive");
		if (member != 0)
			check(write(next.send, message.data(), kSize) == kSize, "send");
	}
}

/* Every second ring uses sockets, the others pipes. */
void run_switches(const std::string &)
{
	std::array<std::array<Channel, kMembers>, kRings> rings;
	for (int i = 0; i < kRings; i++)
		for (Channel &channel : rings[i])
			channel = make_channel(i % 2);
	in_children(kRings * kMembers, [&](int index) {
		become_app(0);
		run_member(rings[index / kMembers], index % kMembers);
	});
	for (const auto &ring : rings)
		for (const Channel &channel : ring) {
			close(channel.receive);
			close(channel.send);
		}
}

/* --- IO to files ---------------------------------------------------------------------------- */

constexpr int kApps = 4;
constexpr std::size_t kBlock = 4096;
constexpr std::size_t kLargeBlock = 4 * kBlock;
constexpr off_t kFileSize = 4 << 20;
constexpr int kDirectReads = 400;
constexpr int kDirectWrites = 200;
constexpr int kSyncWrites = 50;

struct Free {
	void operator()(void *memory) const { std::free(memory); }
};

int open_file(const std::string &path, int flags)
{
	const int file = open(path.c_str(), flags, 0600);
	check(file >= 0, path.c_str());
	return file;
}

/* Return: the next offset of a sequence that is the same in every run. */
off_t some_offset(std::uint32_t &state)
{
	state = state * 1664525 + 1013904223;
	return static_cast<off_t>((state >> 8) % (kFileSize / kBlock) * kBlock);
}

void transfer_at(int file, char *buffer, int count, std::uint32_t seed, bool is_write)
{
	for (int i = 0; i < count; i++) {
		const off_t offset = some_offset(seed);
		const ssize_t done = is_write ? pwrite(file, buffer, kBlock, offset) :
						pread(file, buffer, kBlock, offset);
		check(done == static_cast<ssize_t>(kBlock), "a transfer");
	}
}

void run_app(const std::string &folder, int index)
{
	become_app(index);
	const std::unique_ptr<void, Free> memory(std::aligned_alloc(kBlock, kLargeBlock));
	auto *buffer = static_cast<char *>(memory.get());
	std::memset(buffer, index, kLargeBlock);
	const std::string path = folder + "/app" + std::to_string(index);
	const auto seed = static_cast<std::uint32_t>(index);

	int file = open_file(path, O_RDWR | O_CREAT | O_TRUNC);
	for (off_t done = 0; done < kFileSize; done += kBlock)
		check(write(file, buffer, kBlock) == static_cast<ssize_t>(kBlock), "write");
	check(fsync(file) == 0, "fsync");
	check(posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED) == 0, "posix_fadvise");
	check(lseek(file, 0, SEEK_SET) == 0, "lseek");
	for (off_t done = 0; done < kFileSize; done += kLargeBlock)
		check(read(file, buffer, kLargeBlock) == static_cast<ssize_t>(kLargeBlock), "read");
	close(file);

	file = open_file(path, O_RDWR | O_DIRECT);
	transfer_at(file, buffer, kDirectReads, seed, false);
	transfer_at(file, buffer, kDirectWrites, seed, true);
	close(file);

	file = open_file(path, O_RDWR | O_DSYNC);
	transfer_at(file, buffer, kSyncWrites, seed, true);
	close(file);
}

void run_io(const std::string &folder)
{
	in_children(kApps, [&](int index) { run_app(folder, index); });
	for (int i = 0; i < kApps; i++)
		check(unlink((folder + "/app" + std::to_string(i)).c_str()) == 0, "unlink");
}

struct Workload {
	std::string_view name;
	void (*run)(const std::string &argument);
};

constexpr Workload kWorkloads[] = {
	{"messages", run_messages},
	{"switches", run_switches},
	{"io", run_io},

};

void show_instructions(const Workload &workload, const std::string &argument)
{
	const Counter counter = instructions();
	const auto begin = std::chrono::steady_clock::now();
	const std::uint64_t before = counter.value();
	workload.run(argument);
	const std::uint64_t count = counter.value() - before;
	const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - begin;
	std::printf("%llu %lld\n", static_cast<unsigned long long>(count),
		    static_cast<long long>(time.count()));
}

} /* namespace */

int main(int count, char **words)
{
	const auto *workload = count < 2 ? std::end(kWorkloads) :
					   std::ranges::find(kWorkloads, words[1], &Workload::name);
	if (workload == std::end(kWorkloads)) {
		std::fputs("usage: workload messages|switches|io [FOLDER]\n", stderr);
		return 2;
	}
	show_instructions(*workload, count > 2 ? words[2] : "");
	return 0;
}
