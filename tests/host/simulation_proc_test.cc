// SPDX-License-Identifier: GPL-2.0
/* Checks that the simulated kernel's proc files and parsers follow the kernel's rules. */
#include <cerrno>

#include "host/fixture.h"
#include "kernel/api/proc_fs.h"

extern "C" int kstrtouint_from_user(const char *user_text, size_t count, unsigned int base,
				    unsigned int *result);

namespace test {

class SimulatedProc : public UnloadedTest {
protected:
	[[nodiscard]] static int parse(const std::string &text, unsigned int &value)
	{
		return kstrtouint_from_user(text.data(), text.size(), 10, &value);
	}
};

TEST_F(SimulatedProc, kstrtouint_from_user_is_the_kernel_s)
{
	unsigned int value = 5;
	EXPECT_EQ(parse("4294967295\n", value), 0);
	EXPECT_EQ(value, 4294967295U);
	EXPECT_EQ(parse("+7", value), 0);
	EXPECT_EQ(value, 7U);
	EXPECT_EQ(parse("4294967296", value), -ERANGE);
	EXPECT_EQ(parse("99999999999999999999", value), -ERANGE);
	for (const char *text : {"", "\n", "-1", " 1", "1 ", "1\n\n", "+", "++1", "x", "0x1"})
		EXPECT_EQ(parse(text, value), -EINVAL) << text;
	EXPECT_EQ(parse(std::string(33, '0') + "9 and more", value), 0);
	EXPECT_EQ(value, 9U);
	EXPECT_EQ(parse(std::string(34, '0') + "9", value), 0);
	EXPECT_EQ(value, 0U) << "cut behind 34 bytes";
	EXPECT_EQ(kstrtouint_from_user("0x1f", 4, 0, &value), 0);
	EXPECT_EQ(value, 31U);
}

namespace {

/* A sequence of ten elements that notes the calls. */
std::string asked;

void *element_at(s64 position)
{
	return position < 10 ? reinterpret_cast<void *>(position + 1) : nullptr;
}

int shown_length;

constexpr seq_operations kNumbers{
	.start =
		[](seq_file *, s64 *position) {
			asked += "<" + std::to_string(*position);
			return element_at(*position);
		},
	.stop = [](seq_file *, void *) { asked += ">"; },
	.next = [](seq_file *, void *, s64 *position) { return element_at(++*position); },
	.show =
		[](seq_file *file, void *element) {
			seq_printf(file, "%*llu %llu\n", shown_length,
				   reinterpret_cast<unsigned long long>(element),
				   helper_seq_index(file));
			return 0;
		},
};

} /* namespace */

class SimulatedSeq : public SimulatedProc {
protected:
	void SetUp() override
	{
		asked.clear();
		shown_length = 1;
		entry = proc_create_seq_private("numbers", 0, nullptr, &kNumbers, sizeof(u64),
						nullptr);
		ASSERT_NE(entry, nullptr);
		EXPECT_EQ(entry->mode, 0444U);
	}

	void TearDown() override
	{
		proc_remove(entry);
		SimulatedProc::TearDown();
	}

	proc_dir_entry *entry = nullptr;
};

TEST_F(SimulatedSeq, full_buffer_is_returned_before_the_element_that_did_not_fit)
{
	shown_length = 1000;
	sim::OpenFile file = kernel.proc.open("numbers");
	EXPECT_EQ(file.read(100'000).result, 4 * 1003);
	EXPECT_EQ(file.read(100'000).result, 4 * 1003);
	EXPECT_EQ(asked, "<0><4>");
	EXPECT_EQ(file.read(100'000).result, 2 * 1003);
	EXPECT_EQ(kernel.proc.repeated_shows(), 0U);
}

TEST_F(SimulatedSeq, element_larger_than_the_buffer_is_asked_for_again)
{
	shown_length = 5000;
	sim::OpenFile file = kernel.proc.open("numbers");
	EXPECT_EQ(file.read(1).result, 1);
	EXPECT_EQ(asked, "<0><0>");
	EXPECT_EQ(kernel.proc.repeated_shows(), 1U);
}

TEST_F(SimulatedSeq, seeking_visits_all_elements_from_the_start)
{
	sim::OpenFile file = kernel.proc.open("numbers");
	EXPECT_EQ(file.lseek(9), 9);
	EXPECT_EQ(asked, "<0>");
	EXPECT_EQ(file.read(5).data, " 2\n4 ");
	EXPECT_EQ(file.pread(4, 4).data, "2 1\n");
	EXPECT_EQ(file.pread(4, 0).data, "1 0\n");
	EXPECT_EQ(file.read(2).data, "3\n") << "the file's own position stays";
	EXPECT_EQ(file.lseek(0), 0);
	EXPECT_EQ(file.read(3).data, "1 0");
	EXPECT_EQ(file.lseek(1000), 1000);
	EXPECT_EQ(file.read(3).result, 0);
	EXPECT_EQ(file.lseek(-1), -EINVAL);
}

} /* namespace test */
