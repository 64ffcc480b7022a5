// SPDX-License-Identifier: GPL-2.0
/*
 * Runs the BPF programs of a file while fixed work is done, and prints "WORK PROGRAM RUNS NS" for
 * each: the kernel's own count of the runs, and of the time in them.
 *
 *	peers PROGRAMS WORK COMMAND... [-- WORK COMMAND...]...
 *
 * The programs of records have no event. They are run 20,000 times each, as work "records".
 */
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kRecords = 20'000;
constexpr int kRecordsBetweenReads = 64;

[[noreturn]] void die(const std::string &what)
{
	std::fprintf(stderr, "peers: error: %s: %s\n", what.c_str(), std::strerror(errno));
	std::exit(1);
}

void check(bool holds, const std::string &what)
{
	if (!holds)
		die(what);
}

struct Close {
	void operator()(bpf_object *object) const { bpf_object__close(object); }
	void operator()(bpf_link *link) const { bpf_link__destroy(link); }
	void operator()(ring_buffer *buffer) const { ring_buffer__free(buffer); }
};

using Object = std::unique_ptr<bpf_object, Close>;
using Link = std::unique_ptr<bpf_link, Close>;
using Buffer = std::unique_ptr<ring_buffer, Close>;

struct Count {
	std::uint64_t runs;
	std::uint64_t ns;
};

Count count_of(const bpf_program *program)
{
	bpf_prog_info info{};
	__u32 size = sizeof(info);
	check(bpf_obj_get_info_by_fd(bpf_program__fd(program), &info, &size) == 0,
	      bpf_program__name(program));
	return {info.run_cnt, info.run_time_ns};
}

/* Programs of records are not attached: an event would run them as well. */
bool is_of_records(const bpf_program *program)
{
	return bpf_program__type(program) == BPF_PROG_TYPE_RAW_TRACEPOINT;
}

std::vector<bpf_program *> programs_of(const bpf_object *object)
{
	std::vector<bpf_program *> programs;
	bpf_program *program;
	bpf_object__for_each_program(program, object) programs.push_back(program);
	return programs;
}

void print_growth(std::string_view work, const bpf_program *program, const Count &before)
{
	const Count now = count_of(program);
	std::printf("%s %s %llu %llu\n", std::string(work).c_str(), bpf_program__name(program),
		    static_cast<unsigned long long>(now.runs - before.runs),
		    static_cast<unsigned long long>(now.ns - before.ns));
}

/* The command's own output is not of interest. */
void run_command(std::span<char *const> words)
{
	std::vector<char *> command(words.begin(), words.end());
	command.push_back(nullptr);
	const pid_t child = fork();
	check(child >= 0, "fork");
	if (child == 0) {
		const int null = open("/dev/null", O_WRONLY);
		check(null >= 0 && dup2(null, STDOUT_FILENO) >= 0, "/dev/null");
		execv(command[0], command.data());
		die(command[0]);
	}
	int status;
	check(waitpid(child, &status, 0) == child, "waitpid");
	errno = ECHILD;
	check(status == 0, std::string(command[0]) + " failed");
}

void measure_work(const std::vector<bpf_program *> &programs, std::span<char *const> words)
{
	check(words.size() >= 2, "no command");
	/* Warms up, and fills the maps. */
	run_command(words.subspan(1));
	std::vector<Count> before;
	for (const bpf_program *program : programs)
		before.push_back(count_of(program));
	run_command(words.subspan(1));
	for (std::size_t i = 0; i < programs.size(); i++) {
		if (!is_of_records(programs[i]))
			print_growth(words[0], programs[i], before[i]);
	}
}

int count_record(void *records, void *, std::size_t)
{
	++*static_cast<std::uint64_t *>(records);
	return 0;
}

/* All records must arrive: a buffer that is full would make the program cheap. */
void measure_records(const bpf_object *object, const bpf_program *program)
{
	std::uint64_t records = 0;
	bpf_map *map = bpf_object__find_map_by_name(object, "records");
	check(map != nullptr, "the buffer of records");
	const Buffer buffer(ring_buffer__new(bpf_map__fd(map), count_record, &records, nullptr));
	check(buffer != nullptr, "ring_buffer__new");
	const Count before = count_of(program);
	for (int i = 0; i < kRecords; i++) {
		bpf_test_run_opts options{};
		options.sz = sizeof(options);
		check(bpf_prog_test_run_opts(bpf_program__fd(program), &options) == 0,
		      bpf_program__name(program));
		if (i % kRecordsBetweenReads == 0)
			ring_buffer__consume(buffer.get());
	}
	ring_buffer__consume(buffer.get());
	const bool is_empty = std::string_view(bpf_program__name(program)).starts_with("empty");
	errno = ENOBUFS;
	check(is_empty || records == kRecords, bpf_program__name(program));
	print_growth("records", program, before);
}

Object load(const char *path)
{
	Object object(bpf_object__open_file(path, nullptr));
	check(object != nullptr, path);
	check(bpf_object__load(object.get()) == 0, path);
	return object;
}

} /* namespace */

int main(int count, char **words)
{
	if (count < 4) {
		std::fputs("usage: peers PROGRAMS WORK COMMAND... [-- WORK COMMAND...]...\n",
			   stderr);
		return 2;
	}
	const int statistics = bpf_enable_stats(BPF_STATS_RUN_TIME);
	check(statistics >= 0, "bpf_enable_stats");
	const Object object = load(words[1]);
	const std::vector<bpf_program *> programs = programs_of(object.get());

	std::vector<Link> links;
	for (const bpf_program *program : programs) {
		if (is_of_records(program))
			continue;
		links.emplace_back(bpf_program__attach(program));
		check(links.back() != nullptr, bpf_program__name(program));
	}
	const std::span<char *const> all(words + 2, static_cast<std::size_t>(count - 2));
	for (std::size_t begin = 0; begin < all.size();) {
		std::size_t end = begin;
		while (end < all.size() && std::string_view(all[end]) != "--")
			end++;
		measure_work(programs, all.subspan(begin, end - begin));
		begin = end + 1;
	}
	links.clear();
	for (const bpf_program *program : programs) {
		if (is_of_records(program))
			measure_records(object.get(), program);
	}
	close(statistics);
	return 0;
}
