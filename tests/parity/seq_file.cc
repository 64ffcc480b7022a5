// SPDX-License-Identifier: GPL-2.0
/* Files below /proc that are shown element by element. */
#include "kernel/api/proc_fs.h"

#include "kernel/api/slab.h"
#include "kernel/api/string.h"
#include "kernel/errno.h"
#include "cases.h"
#include "parity.h"

namespace parity {

namespace {

constexpr const char *kName = "zem_parity";
constexpr s64 kElements = 10;

/* What the kernel has called: "<N" start() at N, ">" stop(). */
constinit char calls[64];
constinit size_t calls_length = 0;
constinit unsigned int shows = 0;
/* The width of an element's number. */
constinit int width = 1;

/* Appends to the calls what is printed to the rest of their room. */
#define NOTE(...)                             \
	(calls_length += static_cast<size_t>( \
		 snprintf(calls + calls_length, sizeof(calls) - calls_length, __VA_ARGS__)))

void *element_at(s64 position)
{
	return position < kElements ? reinterpret_cast<void *>(position + 1) : nullptr;
}

void *start(seq_file *, s64 *position)
{
	NOTE("<%lld", static_cast<long long>(*position));
	return element_at(*position);
}

void stop(seq_file *, void *)
{
	NOTE(">");
}

void *next(seq_file *, void *, s64 *position)
{
	return element_at(++*position);
}

/* The number of the element, how many were shown before, and how many this opening has seen. */
int show(seq_file *file, void *element)
{
	auto *seen = static_cast<u64 *>(helper_seq_private(file));
	shows++;
	++*seen;
	seq_printf(file, "%*llu %llu %llu\n", width, reinterpret_cast<unsigned long long>(element),
		   helper_seq_index(file), *seen);
	return 0;
}

constexpr seq_operations kOperations{.start = start, .stop = stop, .next = next, .show = show};

/* The file, open for one reader. */
class OpenFile {
public:
	explicit OpenFile(int width_of_number = 1)
		: entry_(proc_create_seq_private(kName, 0, nullptr, &kOperations, sizeof(u64),
						 nullptr)),
		  text_(static_cast<char *>(helper_kzalloc(kSize)))
	{
		width = width_of_number;
		forget_calls();
		EXPECT_SAME(open_proc(kName), true);
	}

	OpenFile(const OpenFile &) = delete;
	OpenFile &operator=(const OpenFile &) = delete;

	~OpenFile()
	{
		close_proc();
		proc_remove(entry_);
		kfree(text_);
	}

	static void forget_calls()
	{
		calls_length = 0;
		calls[0] = '\0';
		shows = 0;
	}

	/* Return: the text of at most @count bytes. */
	const char *read(size_t count)
	{
		const s64 size = read_proc(text_, count);
		text_[size > 0 ? size : 0] = '\0';
		return text_;
	}

	/* Return: the number of bytes of a read with as much room as there is. */
	s64 size_of_read() { return read_proc(text_, kSize - 1); }

private:
	static constexpr size_t kSize = 16384;

	proc_dir_entry *entry_;
	char *text_;
};

} /* namespace */

void seq_file_shows_all_in_one_pass_and_its_end_in_another()
{
	OpenFile file;
	EXPECT_SAME_TEXT(file.read(4000), "1 0 1\n2 1 2\n3 2 3\n4 3 4\n5 4 5\n6 5 6\n7 6 7\n"
					  "8 7 8\n9 8 9\n10 9 10\n");
	EXPECT_SAME_TEXT(calls, "<0>");
	EXPECT_SAME(file.size_of_read(), 0);
	EXPECT_SAME_TEXT(calls, "<0><10>");
	EXPECT_SAME(shows, kElements);
}

void seq_file_continues_at_the_next_element()
{
	OpenFile file;
	EXPECT_SAME_TEXT(file.read(2), "1 ");
	EXPECT_SAME_TEXT(file.read(3), "0 1");
	EXPECT_SAME_TEXT(calls, "<0>");
	EXPECT_SAME_TEXT(file.read(8), "\n2 1 2\n3");
	EXPECT_SAME_TEXT(calls, "<0><1>");
	EXPECT_SAME_TEXT(file.read(4000), " 2 3\n4 3 4\n5 4 5\n6 5 6\n7 6 7\n8 7 8\n9 8 9\n"
					  "10 9 10\n");
}

/* An element of 1,005 or 1,006 bytes: four fit into the buffer of a page. */
void seq_file_returns_a_full_buffer()
{
	OpenFile file(1000);
	EXPECT_SAME(file.size_of_read(), 4 * 1005);
	EXPECT_SAME(file.size_of_read(), 4 * 1005);
	EXPECT_SAME_TEXT(calls, "<0><4>");
	EXPECT_SAME(file.size_of_read(), 2 * 1006);
}

void seq_file_repeats_an_element_that_does_not_fit()
{
	OpenFile file(5000);
	EXPECT_SAME_TEXT(file.read(1), " ");
	EXPECT_SAME_TEXT(calls, "<0><0>");
	EXPECT_SAME(shows, 2);
}

void seq_file_seeks_from_the_start()
{
	OpenFile file;
	EXPECT_SAME(seek_proc(13), 13);
	EXPECT_SAME_TEXT(file.read(5), " 2 3\n");
	EXPECT_SAME(seek_proc(0), 0);
	EXPECT_SAME_TEXT(file.read(3), "1 0");
	EXPECT_SAME(seek_proc(1000), 1000);
	EXPECT_SAME(file.size_of_read(), 0);
	EXPECT_SAME(seek_proc(-1), -EINVAL);
}

void seq_file_gives_each_opening_its_state()
{
	OpenFile file;
	EXPECT_SAME_TEXT(file.read(6), "1 0 1\n");
	close_proc();
	EXPECT_SAME(open_proc(kName), true);
	EXPECT_SAME_TEXT(file.read(6), "1 0 1\n");
}

void proc_files_are_gone_when_they_are_removed()
{
	proc_dir_entry *directory = proc_mkdir(kName, nullptr);
	EXPECT_SAME(directory != nullptr, true);
	proc_dir_entry *file =
		proc_create_seq_private("file", 0, directory, &kOperations, sizeof(u64), nullptr);
	EXPECT_SAME(open_proc("zem_parity/file"), true);
	close_proc();
	proc_remove(file);
	EXPECT_SAME(open_proc("zem_parity/file"), false);
	close_proc();
	proc_remove(directory);
	proc_remove(nullptr);
	EXPECT_SAME(remove_proc_subtree(kName, nullptr), -ENOENT);
}

} /* namespace parity */
