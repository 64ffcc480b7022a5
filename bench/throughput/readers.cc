// SPDX-License-Identifier: GPL-2.0
#include "readers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fcntl.h>
#include <linux/perf_event.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

volatile bool must_stop;

[[noreturn]] void die(const std::string &what)
{
	std::fprintf(stderr, "throughput: error: %s: %s\n", what.c_str(), std::strerror(errno));
	std::exit(1);
}

namespace {

/* As zem's ring buffer has, for each CPU. */
constexpr std::size_t kBufferOfCpu = 256 << 10;
constexpr int kPollMs = 100;

void check(bool holds, const std::string &what)
{
	if (!holds)
		die(what);
}

int create(const char *path)
{
	const int fd = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
	check(fd >= 0, path);
	return fd;
}

void write_all(int fd, const void *data, std::size_t size)
{
	const auto *at = static_cast<const char *>(data);
	while (size > 0) {
		const ssize_t written = ::write(fd, at, size);
		check(written > 0, "write");
		at += written;
		size -= static_cast<std::size_t>(written);
	}
}

std::string text_of(const std::string &path)
{
	std::ifstream file(path);
	return {std::istreambuf_iterator<char>(file), {}};
}

void set(const std::string &path, const std::string &text)
{
	std::ofstream file(path);
	check(static_cast<bool>(file << text << std::flush), path);
}

int cpus()
{
	return static_cast<int>(::sysconf(_SC_NPROCESSORS_ONLN));
}

/* --- zemctl record -------------------------------------------------------------------------- */

constexpr const char *kSummary = "/tmp/summary";

/* zemctl prints its first line when it reads. */
void run_zemctl(const char *file, unsigned int, void (*ready)())
{
	const int summary = create(kSummary);
	check(::dup2(summary, STDERR_FILENO) >= 0, "dup2");
	ready();
	::execlp("zemctl", "zemctl", "record", "--channels", "test", "-o", file, nullptr);
	die("zemctl");
}

/* "N records, ..." */
std::uint64_t received_by_zemctl(const char *, unsigned int, std::uint64_t)
{
	const std::string text = text_of(kSummary);
	const std::size_t end = text.find(" records,");
	check(end != std::string::npos, "zemctl record: " + text);
	const std::size_t begin = text.find_last_of("\n ", end - 1);
	return std::stoull(text.substr(begin == std::string::npos ? 0 : begin + 1));
}

/* --- a BPF ring buffer ---------------------------------------------------------------------- */

struct Output {
	int fd;
	std::vector<char> pending;

	void add(const void *data, std::size_t size)
	{
		const auto *bytes = static_cast<const char *>(data);
		pending.insert(pending.end(), bytes, bytes + size);
		if (pending.size() >= kBufferOfCpu)
			flush();
	}

	void flush()
	{
		write_all(fd, pending.data(), pending.size());
		pending.clear();
	}
};

int take_record(void *output, void *data, std::size_t size)
{
	static_cast<Output *>(output)->add(data, size);
	return 0;
}

void run_bpf(const char *file, unsigned int size, void (*ready)())
{
	Output output{create(file), {}};
	bpf_object *object = bpf_object__open_file("/tmp/flood.bpf.o", nullptr);
	check(object && bpf_object__load(object) == 0, "the BPF programs");
	const std::string name = "send_" + std::to_string(size);
	bpf_program *program = bpf_object__find_program_by_name(object, name.c_str());
	check(program != nullptr, name);
	check(bpf_program__attach(program) != nullptr, name);
	ring_buffer *buffer = ring_buffer__new(bpf_object__find_map_fd_by_name(object, "records"),
					       take_record, &output, nullptr);
	check(buffer != nullptr, "ring_buffer__new");
	ready();
	while (!must_stop)
		ring_buffer__poll(buffer, kPollMs);
	ring_buffer__consume(buffer);
	output.flush();
	std::exit(0);
}

std::uint64_t received_by_bpf(const char *file, unsigned int size, std::uint64_t)
{
	return std::filesystem::file_size(file) / size;
}

/* --- the trace buffers of ftrace, by splice -------------------------------------------------- */

const std::string kTracing = "/sys/kernel/tracing/";
const std::string kEvent = kTracing + "events/zem_flood/zem_flood_record/";

std::string of_cpu(int cpu, const char *name)
{
	return kTracing + "per_cpu/cpu" + std::to_string(cpu) + "/" + name;
}

void move_pages(int from, int (&pipe)[2], int to)
{
	while (true) {
		const ssize_t size = ::splice(from, nullptr, pipe[1], nullptr, 16 << 12,
					      SPLICE_F_NONBLOCK | SPLICE_F_MOVE);
		if (size <= 0)
			return;
		for (ssize_t left = size; left > 0;) {
			const ssize_t moved = ::splice(pipe[0], nullptr, to, nullptr,
						       static_cast<std::size_t>(left),
						       SPLICE_F_MOVE);
			check(moved > 0, "splice");
			left -= moved;
		}
	}
}

void run_ftrace(const char *file, unsigned int, void (*ready)())
{
	const int output = create(file);
	set(kTracing + "buffer_size_kb", std::to_string(kBufferOfCpu / 1024));
	set(kTracing + "trace", "");
	std::vector<pollfd> sources;
	for (int cpu = 0; cpu < cpus(); cpu++) {
		const int fd = ::open(of_cpu(cpu, "trace_pipe_raw").c_str(), O_RDONLY | O_NONBLOCK);
		check(fd >= 0, "trace_pipe_raw");
		sources.push_back({fd, POLLIN, 0});
	}
	int pipe[2];
	check(::pipe(pipe) == 0, "pipe");
	set(kEvent + "enable", "1");
	ready();
	while (!must_stop) {
		::poll(sources.data(), sources.size(), kPollMs);
		for (const pollfd &source : sources)
			move_pages(source.fd, pipe, output);
	}
	set(kEvent + "enable", "0");
	/* The last page of each CPU is not full, and can only be read. */
	for (const pollfd &source : sources) {
		char page[4096];
		move_pages(source.fd, pipe, output);
		while (const ssize_t size = ::read(source.fd, page, sizeof(page))) {
			if (size < 0)
				break;
			write_all(output, page, static_cast<std::size_t>(size));
		}
	}
	std::exit(0);
}

/* The kernel counts what it has overwritten or refused. */
std::uint64_t received_by_ftrace(const char *, unsigned int, std::uint64_t pushed)
{
	std::uint64_t lost = 0;
	for (int cpu = 0; cpu < cpus(); cpu++) {
		std::ifstream stats(of_cpu(cpu, "stats"));
		for (std::string line; std::getline(stats, line);)
			if (line.starts_with("overrun:") || line.starts_with("dropped events:"))
				lost += std::stoull(line.substr(line.find(':') + 1));
	}
	return pushed - lost;
}

/* --- the buffers of perf ------------------------------------------------------------------- */

constexpr const char *kLost = "/tmp/lost";

struct PerfBuffer {
	int fd;
	perf_event_mmap_page *control;
	const char *data;
};

PerfBuffer open_perf(int cpu, unsigned long long id)
{
	perf_event_attr attributes{};
	attributes.type = PERF_TYPE_TRACEPOINT;
	attributes.size = sizeof(attributes);
	attributes.config = id;
	attributes.sample_period = 1;
	attributes.sample_type = PERF_SAMPLE_RAW | PERF_SAMPLE_TIME | PERF_SAMPLE_CPU;
	attributes.read_format = PERF_FORMAT_LOST;
	attributes.watermark = 1;
	attributes.wakeup_watermark = kBufferOfCpu / 2;
	const int fd =
		static_cast<int>(::syscall(SYS_perf_event_open, &attributes, -1, cpu, -1, 0));
	check(fd >= 0, "perf_event_open");
	const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
	void *memory =
		::mmap(nullptr, page + kBufferOfCpu, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
	check(memory != MAP_FAILED, "mmap");
	return {fd, static_cast<perf_event_mmap_page *>(memory),
		static_cast<const char *>(memory) + page};
}

void take(const PerfBuffer &buffer, int output)
{
	const std::uint64_t head = __atomic_load_n(&buffer.control->data_head, __ATOMIC_ACQUIRE);
	std::uint64_t tail = buffer.control->data_tail;
	while (tail != head) {
		const std::size_t offset = tail % kBufferOfCpu;
		const std::size_t size =
			std::min<std::uint64_t>(head - tail, kBufferOfCpu - offset);
		write_all(output, buffer.data + offset, size);
		tail += size;
	}
	__atomic_store_n(&buffer.control->data_tail, tail, __ATOMIC_RELEASE);
}

void run_perf(const char *file, unsigned int, void (*ready)())
{
	const int output = create(file);
	std::vector<PerfBuffer> buffers;
	std::vector<pollfd> sources;
	const unsigned long long id = std::stoull(text_of(kEvent + "id"));
	for (int cpu = 0; cpu < cpus(); cpu++) {
		buffers.push_back(open_perf(cpu, id));
		sources.push_back({buffers.back().fd, POLLIN, 0});
	}
	ready();
	while (!must_stop) {
		::poll(sources.data(), sources.size(), kPollMs);
		for (const PerfBuffer &buffer : buffers)
			take(buffer, output);
	}
	std::uint64_t lost = 0;
	for (const PerfBuffer &buffer : buffers) {
		check(::ioctl(buffer.fd, PERF_EVENT_IOC_DISABLE, 0) == 0, "PERF_EVENT_IOC_DISABLE");
		take(buffer, output);
		std::uint64_t counts[2];
		check(::read(buffer.fd, counts, sizeof(counts)) == sizeof(counts),
		      "read of the counts");
		lost += counts[1];
	}
	set(kLost, std::to_string(lost));
	std::exit(0);
}

std::uint64_t received_by_perf(const char *, unsigned int, std::uint64_t pushed)
{
	return pushed - std::stoull(text_of(kLost));
}

} // namespace

const Reader kReaders[] = {
	{"zemctl record", "zem", run_zemctl, received_by_zemctl},
	{"BPF ring buffer", "event", run_bpf, received_by_bpf},
	{"ftrace, splice", "event", run_ftrace, received_by_ftrace},
	{"perf buffers", "event", run_perf, received_by_perf},
	{nullptr, nullptr, nullptr, nullptr},
};
