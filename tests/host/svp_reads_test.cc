// SPDX-License-Identifier: GPL-2.0
/*
 * /proc/svp_metrics/svp_metrics read in pieces: which tasks a reading shows, in which order, and
 * the tasks that a reader leaves.
 */
#include <cerrno>

#include "host/svp_fixture.h"

namespace test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class SvpReads : public SvpTest {
protected:
	using SvpTest::SvpTest;

	void enrol(const std::vector<int> &pids)
	{
		for (const int pid : pids)
			static_cast<void>(enrolled({.pid = pid}));
	}

	[[nodiscard]] sim::OpenFile open() { return kernel.proc.open("svp_metrics/svp_metrics"); }

	/* Reads a file up to its first task that is not in the text. */
	[[nodiscard]] static std::string first_piece(sim::OpenFile &file)
	{
		return file.read(kWhole).data;
	}

	static constexpr size_t kWhole = 131072;
};

TEST_F(SvpReads, text_is_the_same_in_pieces_of_any_size)
{
	std::string whole;
	for (const size_t piece : {kWhole, 1UL, 2UL, 7UL, 100UL, 4095UL, 4096UL, 4097UL}) {
		std::vector<sim::Task *> tasks;
		for (const int pid : {5, 4, 3, 2, 1})
			tasks.push_back(&enrolled({.pid = pid}));
		sim::OpenFile file = open();
		const std::string text = file.read_all(piece).data;
		EXPECT_THAT(pids_in(text), ElementsAre(1, 2, 3, 4, 5)) << piece;
		if (whole.empty())
			whole = text;
		EXPECT_EQ(text, whole) << piece;
		for (sim::Task *task : tasks) {
			EXPECT_EQ(sim::Platform::references(*task), 0);
			kernel.platform.exit(*task);
		}
	}
}

TEST_F(SvpReads, piece_holds_whole_tasks)
{
	enrol({4, 3, 2, 1});
	sim::OpenFile file = open();
	size_t pieces = 0;
	for (std::string text; !(text = first_piece(file)).empty(); pieces++) {
		EXPECT_LE(text.size(), sim::kPageSize);
		EXPECT_TRUE(text.starts_with("---------------- svp common info")) << text;
		EXPECT_TRUE(text.ends_with("\n\n\n")) << text;
	}
	EXPECT_GT(pieces, 1U);
}

TEST_F(SvpReads, task_that_enrols_during_a_reading_is_in_the_next)
{
	sim::Task &again = enrolled({.pid = 5});
	enrol({4, 3, 2, 1});
	sim::OpenFile file = open();
	std::string text = first_piece(file);
	ASSERT_THAT(pids_in(text), ElementsAre(1, 2));
	enrol({9});
	depart(again);
	text += file.read_all().data;
	EXPECT_THAT(pids_in(text), ElementsAre(1, 2, 3, 4, 5));
	depart(again);
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(5, 9));
}

TEST_F(SvpReads, end_stays_the_end_whatever_enrols_then)
{
	enrol({2, 1});
	sim::OpenFile file = open();
	EXPECT_THAT(pids_in(file.read_all().data), ElementsAre(1, 2));
	enrol({9});
	sim::OpenFile other = open();
	enrol({8, 7, 6});
	EXPECT_THAT(pids_in(first_piece(other)), ::testing::Contains(6));
	EXPECT_EQ(file.read(kWhole).result, 0) << "nor what another reader has left";
	EXPECT_EQ(file.lseek(0), 0);
	EXPECT_THAT(pids_in(file.read_all().data), ElementsAre(8, 9)) << "a new reading";
}

TEST_F(SvpReads, reading_ends_with_the_last_task_that_had_enrolled_at_its_start)
{
	enrol({2, 1});
	sim::OpenFile file = open();
	EXPECT_THAT(pids_in(first_piece(file)), ElementsAre(1, 2));
	enrol({9, 8, 7, 6});
	sim::OpenFile other = open();
	EXPECT_THAT(pids_in(first_piece(other)), ElementsAre(6, 7));
	EXPECT_EQ(file.read(kWhole).result, 0) << "the rest is the other reader's";
}

TEST_F(SvpReads, file_that_was_read_empty_is_at_its_start_still)
{
	sim::OpenFile file = open();
	EXPECT_EQ(file.read(kWhole).result, 0);
	enrol({1});
	EXPECT_THAT(pids_in(file.read_all().data), ElementsAre(1));
}

TEST_F(SvpReads, tasks_that_a_reader_leaves_stand_behind_those_that_enrol_after_it)
{
	enrol({6, 5, 4, 3, 2, 1});
	sim::OpenFile file = open();
	const std::vector<int> shown = pids_in(first_piece(file));
	ASSERT_THAT(shown, ElementsAre(1, 2));
	enrol({8, 9});
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(9, 8, 3, 4, 5, 6));
	EXPECT_EQ(file.read(kWhole).result, 0) << "they were shown to the other reader";
}

TEST_F(SvpReads, upload_takes_what_a_reader_leaves)
{
	enrol({4, 3, 2, 1});
	sim::OpenFile file = open();
	ASSERT_THAT(pids_in(first_piece(file)), ElementsAre(1, 2));
	EXPECT_THAT(collect_pids(), ElementsAre(3, 4));
	EXPECT_EQ(file.read(kWhole).result, 0);
	enrol({9, 8, 7, 6});
	sim::OpenFile other = open();
	ASSERT_THAT(pids_in(first_piece(other)), ElementsAre(6, 7));
	EXPECT_EQ(file.read(kWhole).result, 0) << "the end stays the end";
	EXPECT_THAT(collect_pids(), ElementsAre(8, 9));
}

TEST_F(SvpReads, two_readers_share_the_tasks)
{
	enrol({6, 5, 4, 3, 2, 1});
	sim::OpenFile first = open();
	sim::OpenFile second = open();
	EXPECT_THAT(pids_in(first_piece(first)), ElementsAre(1, 2));
	EXPECT_THAT(pids_in(first_piece(second)), ElementsAre(3, 4));
	EXPECT_THAT(pids_in(first_piece(first)), ElementsAre(5, 6));
	EXPECT_EQ(second.read(kWhole).result, 0);
	EXPECT_EQ(first.read(kWhole).result, 0);
}

TEST_F(SvpReads, tasks_without_counters_are_passed_over)
{
	for (int pid = 1; pid <= 5; pid++) {
		EXPECT_TRUE(enrols(kernel.platform.make_task({.pid = 100 + pid})));
		enrol({pid});
	}
	EXPECT_TRUE(enrols(kernel.platform.make_task({.pid = 200})));
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(5, 4, 3, 2, 1));
	EXPECT_THAT(collect(), IsEmpty());
}

/* As with any file that consumes, skipped text is lost. */
TEST_F(SvpReads, seeking_consumes_the_tasks_before_the_position)
{
	enrol({3, 2, 1});
	sim::OpenFile file = open();
	EXPECT_EQ(file.lseek(10), 10);
	EXPECT_THAT(pids_in(file.read_all().data), ElementsAre(1, 2, 3));
	enrol({6, 5, 4});
	sim::OpenFile other = open();
	EXPECT_EQ(other.pread(kWhole, 1'000'000).result, 0);
	EXPECT_THAT(collect(), IsEmpty());
}

TEST_F(SvpReads, unloading_releases_what_a_reader_has_left)
{
	std::vector<sim::Task *> tasks;
	for (int pid = 1; pid <= 6; pid++)
		tasks.push_back(&enrolled({.pid = pid}));
	sim::OpenFile file = open();
	EXPECT_THAT(pids_in(first_piece(file)), SizeIs(2));
	unload();
	EXPECT_EQ(file.read(kWhole).result, -EIO);
	for (const sim::Task *task : tasks) {
		EXPECT_EQ(sim::Platform::references(*task), 0);
		EXPECT_FALSE(task->listed());
	}
}

/* A user may run any number of tasks. */
class SvpReadsInOnePage : public SvpReads {
protected:
	SvpReadsInOnePage() : SvpReads({.most_seq_buffer = sim::kPageSize}) {}
};

TEST_F(SvpReadsInOnePage, list_of_any_length_is_shown)
{
	std::vector<int> pids;
	for (int pid = 2000; pid > 0; pid--) {
		pids.insert(pids.begin(), pid);
		enrol({pid});
	}
	EXPECT_EQ(pids_in(read_proc()), pids);
	EXPECT_EQ(read_proc(), "");
}

class SvpReadsFromASmallBuffer : public SvpReads {
protected:
	SvpReadsFromASmallBuffer() : SvpReads({.first_seq_buffer = 1024}) {}
};

TEST_F(SvpReadsFromASmallBuffer, task_that_enrols_while_the_buffer_grows_is_shown_first)
{
	sim::Task &late = kernel.platform.make_task({.pid = 9});
	static_cast<void>(kernel.platform.stats(late));
	enrol({3, 2, 1});
	kernel.faults.at("seq_buf_alloc", [&] { depart(late); }, 2);
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(9, 1, 2, 3));
	EXPECT_GT(kernel.proc.repeated_shows(), 0U);
}

TEST_F(SvpReadsFromASmallBuffer, buffer_that_cannot_grow_consumes_nothing)
{
	enrol({3, 2, 1});
	kernel.faults.fail("seq_buf_alloc", 2);
	EXPECT_EQ(read_proc(), "error -12");
	EXPECT_THAT(pids_in(read_proc()), ElementsAre(1, 2, 3));
}

} /* namespace test */
