// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/load_metrics/load_metrics read in pieces: one header, each task once, and changes of the
 * list of tasks between the pieces.
 */
#include <cerrno>
#include <memory>

#include "host/load_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

constexpr size_t kWhole = 131072;

/* Returns the pids in a text, in order. A pid that is cut off is left out. */
std::vector<int> pids_in(const std::string &text)
{
	std::vector<int> pids;
	for (size_t at = 0; (at = text.find("pid:", at)) != std::string::npos; at++)
		if ((at == 0 || text[at - 1] == '\n') && text.find(' ', at) != std::string::npos)
			pids.push_back(std::stoi(text.substr(at + 4)));
	return pids;
}

size_t headers_in(const std::string &text)
{
	size_t found = 0;
	for (size_t at = 0; (at = text.find("time: ", at)) != std::string::npos; at++)
		found++;
	return found;
}

std::vector<int> range(int first, int last)
{
	std::vector<int> numbers;
	for (int number = first; number <= last; number++)
		numbers.push_back(number);
	return numbers;
}

} /* namespace */

class LoadReads : public LoadTest {
protected:
	void SetUp() override
	{
		LoadTest::SetUp();
		step(1 * kMs);
	}

	[[nodiscard]] sim::OpenFile open() { return kernel.proc.open("load_metrics/load_metrics"); }

	/* Creates tasks 1 to @count, each with a load. */
	void make_tasks(int count)
	{
		for (int pid = 1; pid <= count; pid++) {
			tasks.push_back(&make_task(pid));
			give_load(*tasks.back(), 1);
		}
	}

	[[nodiscard]] sim::Task &task(int pid) { return *tasks[static_cast<size_t>(pid) - 1]; }

	/*
	 * Returns a file that was read into the line of @pid. Its buffer holds the rest of the
	 * line, and the cursor is at the next task. Reading the line's last byte would already show
	 * the next task.
	 */
	[[nodiscard]] std::unique_ptr<sim::OpenFile> read_up_to(int pid)
	{
		auto file = std::make_unique<sim::OpenFile>(open());
		std::string text;
		while (pids_in(text).empty() || pids_in(text).back() != pid) {
			const sim::ReadResult read = file->read(1);
			if (read.result <= 0) {
				ADD_FAILURE() << "no line of " << pid;
				break;
			}
			text += read.data;
		}
		return file;
	}

	std::vector<sim::Task *> tasks;
};

TEST_F(LoadReads, text_is_the_same_in_pieces_of_any_size)
{
	make_tasks(5);
	const auto wait = [this] {
		for (sim::Task *task : tasks)
			give_load(*task, 1);
		step(1 * kMs);
	};
	wait();
	std::string whole = read_view();
	EXPECT_THAT(pids_in(whole), ElementsAre(1, 2, 3, 4, 5));
	for (const size_t piece : {1, 2, 7, 64, 100, 4095, 4096, 4097}) {
		wait();
		sim::OpenFile file = open();
		const std::string text = file.read_all(piece).data;
		EXPECT_EQ(text.substr(text.find("cpu:")), whole.substr(whole.find("cpu:")))
			<< piece;
		EXPECT_EQ(headers_in(text), 1U);
		EXPECT_EQ(file.read(100).result, 0) << "the end stays the end";
	}
}

TEST_F(LoadReads, long_text_is_filled_in_again_and_again_with_one_header)
{
	make_tasks(300);
	sim::OpenFile file = open();
	std::string text;
	size_t reads = 0;
	for (;; reads++) {
		const sim::ReadResult read = file.read(kWhole);
		ASSERT_GE(read.result, 0);
		if (read.result == 0)
			break;
		EXPECT_LE(read.result, 4096);
		EXPECT_TRUE(read.data.ends_with("\n"));
		text += read.data;
	}
	EXPECT_GT(reads, 3U);
	EXPECT_EQ(headers_in(text), 1U);
	EXPECT_EQ(pids_in(text), range(1, 300));
	EXPECT_EQ(kernel.proc.repeated_shows(), 0U);
	/* Everything was consumed. */
	EXPECT_THAT(pids_in(read_view()), IsEmpty());
}

/* The last line in a buffer may have the maximum length. */
TEST_F(LoadReads, long_line_at_the_end_of_a_buffer_is_not_lost)
{
	constexpr int kFirst = 2'000'000'000;
	for (int i = 0; i < 300; i++) {
		sim::Task &each = make_task(kFirst + i, "fifteen letters");
		sim::Platform::set_package(each, std::string(static_cast<size_t>(i) % 32, 'p'));
		word(each, kAccumulator) = ~0ULL;
		each.record.counter_a[0] = ~0ULL / kSmallScale;
		each.record.counter_d[0] = 1000;
	}
	/* The window is so short that the values have the maximum number of digits. */
	EXPECT_EQ(write_proc("load_metrics/load_metrics_enabled", "1"), 1);
	step(1);
	const std::string text = read_view();
	EXPECT_EQ(pids_in(text), range(kFirst, kFirst + 299));
	EXPECT_THAT(text, HasSubstr(" 18446744073709551615("));
	EXPECT_GT(text.size(), 300U * 140);
}

TEST_F(LoadReads, threads_go_on_where_the_buffer_was_full)
{
	set_switch("thread_metrics_enabled", true);
	make_tasks(3);
	for (int pid = 101; pid <= 200; pid++)
		give_load(make_thread(task(2), pid), 1);
	std::vector<int> expected = range(101, 200);
	expected.insert(expected.begin(), {1, 2});
	expected.push_back(3);
	EXPECT_EQ(pids_in(read_view()), expected);
}

TEST_F(LoadReads, idle_tasks_in_between_end_nothing)
{
	for (int pid = 1; pid <= 500; pid++)
		static_cast<void>(make_task(pid));
	give_load(make_task(501), 1);
	EXPECT_THAT(pids_in(open().read_all(16).data), ElementsAre(501));
}

TEST_F(LoadReads, window_stays_as_it_was_when_the_header_was_shown)
{
	make_tasks(2);
	word(task(2), kAccumulator) = 10 * kMs;
	const auto file = read_up_to(1);
	step(1 * kMs);
	EXPECT_THAT(file->read(kWhole).data, HasSubstr(" 10(0%) 1(0%)\n"));
}

TEST_F(LoadReads, usage_is_by_the_window_of_the_header_even_if_another_is_closed)
{
	for (const char *closer : {"reader", "upload", "switch"}) {
		std::vector<sim::Task *> each;
		for (const int pid : {1, 2, 3}) {
			each.push_back(&make_task(pid));
			word(*each.back(), kAccumulator) = 10 * kMs;
		}
		EXPECT_EQ(write_proc("load_metrics/load_metrics_enabled", "1"), 1);
		step(1 * kMs);
		const auto file = read_up_to(1);
		word(*each[2], kAccumulator) = 20 * kMs;
		step(20);
		if (closer == std::string("reader"))
			EXPECT_EQ(open().read(1).result, 1);
		else if (closer == std::string("upload"))
			EXPECT_THAT(upload_cpus(), SizeIs(8));
		else
			EXPECT_EQ(write_proc("load_metrics/load_metrics_enabled", "1"), 1);
		const std::string rest = file->read(kWhole).data;
		EXPECT_THAT(pids_in(rest), ElementsAre(2, 3)) << closer;
		EXPECT_THAT(rest, HasSubstr("pid:2 0 comm:task ppid:2 pkg: 10(0%) 0(0%)\n"))
			<< closer;
		EXPECT_THAT(rest, HasSubstr("pid:3 0 comm:task ppid:3 pkg: 20(0%) 0(0%)\n"))
			<< closer;
		for (sim::Task *task : each)
			kernel.platform.exit(*task);
	}
}

TEST_F(LoadReads, task_at_the_cursor_that_has_exited_is_left_out)
{
	make_tasks(5);
	const auto file = read_up_to(2);
	kernel.platform.exit(task(3));
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(4, 5));
}

TEST_F(LoadReads, several_that_have_exited_are_left_out)
{
	make_tasks(5);
	const auto file = read_up_to(2);
	for (const int pid : {1, 2, 3, 4})
		kernel.platform.exit(task(pid));
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(5));
}

TEST_F(LoadReads, last_task_that_has_exited_is_the_end)
{
	make_tasks(3);
	const auto file = read_up_to(2);
	kernel.platform.exit(task(3));
	/* A walk that began again would show them. */
	for (const int pid : {1, 2})
		give_load(task(pid), 1);
	EXPECT_THAT(pids_in(file->read(kWhole).data), IsEmpty());
	EXPECT_EQ(file->read(kWhole).result, 0);
	EXPECT_EQ(file->read(kWhole).result, 0);
}

TEST_F(LoadReads, end_stays_the_end_whatever_the_tasks_do_then)
{
	make_tasks(3);
	sim::OpenFile file = open();
	EXPECT_THAT(pids_in(file.read_all().data), ElementsAre(1, 2, 3));
	for (sim::Task *each : tasks)
		give_load(*each, 1);
	give_load(make_task(4), 1);
	EXPECT_EQ(file.read(kWhole).result, 0);
	EXPECT_THAT(pids_in(read_view()), ElementsAre(1, 2, 3, 4));
}

TEST_F(LoadReads, new_tasks_at_the_end_are_shown)
{
	make_tasks(3);
	const auto file = read_up_to(2);
	kernel.platform.exit(task(3));
	give_load(make_task(4), 1);
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(4));
}

TEST_F(LoadReads, task_with_the_pid_of_one_that_has_exited_is_another)
{
	make_tasks(5);
	const auto file = read_up_to(2);
	kernel.platform.exit(task(3));
	give_load(make_task(3, "another"), 1);
	const std::string rest = file->read(kWhole).data;
	EXPECT_THAT(pids_in(rest), ElementsAre(4, 5, 3));
	EXPECT_THAT(rest, HasSubstr("comm:another"));
}

TEST_F(LoadReads, thread_at_the_cursor_that_has_exited_takes_its_siblings_along)
{
	set_switch("thread_metrics_enabled", true);
	make_tasks(2);
	std::vector<sim::Task *> threads;
	for (const int pid : {11, 12, 13}) {
		threads.push_back(&make_thread(task(1), pid));
		give_load(*threads.back(), 1);
	}
	const auto file = read_up_to(11);
	kernel.platform.exit(*threads[1]);
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(2));
}

TEST_F(LoadReads, whole_process_of_the_thread_at_the_cursor_may_go)
{
	set_switch("thread_metrics_enabled", true);
	make_tasks(3);
	sim::Task &thread = make_thread(task(2), 21);
	give_load(thread, 1);
	const auto file = read_up_to(2);
	kernel.platform.exit(thread);
	kernel.platform.exit(task(2));
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(3));
}

TEST_F(LoadReads, thread_mode_may_change_between_two_pieces)
{
	set_switch("thread_metrics_enabled", true);
	make_tasks(3);
	for (const int pid : {11, 12, 13})
		give_load(make_thread(task(1), pid), 1);
	auto file = read_up_to(11);
	set_switch("thread_metrics_enabled", false);
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(12, 2, 3))
		<< "the one at the cursor, then processes";

	for (sim::Task *each : tasks)
		give_load(*each, 1);
	file = read_up_to(1);
	set_switch("thread_metrics_enabled", true);
	give_load(make_thread(task(2), 21), 1);
	EXPECT_THAT(pids_in(file->read(kWhole).data), ElementsAre(2, 21, 3));
}

TEST_F(LoadReads, two_readers_have_a_position_each_and_share_the_figures)
{
	make_tasks(6);
	const auto first = read_up_to(2);
	const auto second = read_up_to(3);
	EXPECT_THAT(pids_in(first->read(kWhole).data), ElementsAre(4, 5, 6));
	EXPECT_THAT(pids_in(second->read(kWhole).data), IsEmpty());
	for (sim::Task *each : tasks)
		give_load(*each, 1);
	const auto third = read_up_to(4);
	const auto fourth = read_up_to(5);
	EXPECT_THAT(pids_in(fourth->read(kWhole).data), ElementsAre(6));
	EXPECT_THAT(pids_in(third->read(kWhole).data), IsEmpty());
}

TEST_F(LoadReads, reading_from_the_start_again_is_a_new_reading)
{
	make_tasks(2);
	sim::OpenFile file = open();
	EXPECT_EQ(headers_in(file.read_all().data), 1U);
	EXPECT_EQ(file.lseek(0), 0);
	give_load(task(2), 1);
	step(77);
	const std::string again = file.read_all().data;
	EXPECT_THAT(again, HasSubstr(" 77\ncpu:"));
	EXPECT_THAT(pids_in(again), ElementsAre(2));
}

/* The kernel formats the text up to the position, which consumes it. */
TEST_F(LoadReads, seeking_shows_what_is_behind_the_position)
{
	make_tasks(3);
	const size_t header = read_view().find("pid:");
	for (sim::Task *each : tasks)
		give_load(*each, 1);
	step(1 * kMs);
	sim::OpenFile file = open();
	EXPECT_EQ(file.lseek(static_cast<s64>(header) + 4), static_cast<s64>(header) + 4);
	const std::string text = file.read_all().data;
	EXPECT_EQ(headers_in(text), 0U);
	EXPECT_TRUE(text.starts_with("1 0 comm:task")) << text;
	EXPECT_THAT(pids_in(text), ElementsAre(2, 3));
	EXPECT_THAT(pids_in(read_view()), IsEmpty());
}

TEST_F(LoadReads, pread_from_a_position_has_no_header_and_continues_with_the_tasks)
{
	make_tasks(3);
	const size_t header = read_view().find("pid:");
	for (sim::Task *each : tasks)
		give_load(*each, 1);
	step(1 * kMs);
	sim::OpenFile file = open();
	const sim::ReadResult read = file.pread(kWhole, static_cast<s64>(header));
	EXPECT_THAT(pids_in(read.data), ElementsAre(1, 2, 3));
	EXPECT_EQ(headers_in(read.data), 0U);
	step(1 * kMs);
	EXPECT_EQ(headers_in(file.read(kWhole).data), 1U) << "the file's own position is the start";
}

TEST_F(LoadReads, beyond_the_end_there_is_nothing)
{
	make_tasks(3);
	sim::OpenFile file = open();
	EXPECT_EQ(file.pread(kWhole, 100'000).result, 0);
	EXPECT_EQ(file.lseek(100'000), 100'000);
	EXPECT_EQ(file.read(kWhole).result, 0);
	EXPECT_EQ(file.lseek(-1), -EINVAL);
}

TEST_F(LoadReads, file_that_is_open_at_unload_cannot_be_read_afterwards)
{
	make_tasks(3);
	const auto file = read_up_to(1);
	unload();
	EXPECT_EQ(file->read(kWhole).result, -EIO);
}

} /* namespace test */
