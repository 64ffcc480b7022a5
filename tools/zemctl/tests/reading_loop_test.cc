// SPDX-License-Identifier: GPL-2.0
/*
 * The loop that docs/reading.md gives to authors of readers: it compiles without a warning, takes
 * the records, and reports a loss.
 */
#include "code_block.h"
#include "command_fixture.h"

namespace zemctl {

namespace {

/* The first C block of the page, with the paths of the test's files. */
std::string loop_of_the_page()
{
	std::string code = code_block_of("reading.md", "c");
	for (const auto &[from, to] : {std::pair{"\"/dev/zem_shared\"", "\"shared\""},
				       {"\"/sys/zem/trace\"", "\"zem/trace\""}}) {
		const std::size_t at = code.find(from);
		EXPECT_NE(at, std::string::npos) << from;
		if (at != std::string::npos)
			code.replace(at, std::string_view(from).size(), to);
	}
	return code;
}

/* take_records() ends the program when it is called for the second time. */
constexpr std::string_view kBefore = R"c(
#include <fcntl.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>
#include <linux/zem.h>

/* Plain files notify nobody. */
static int no_poll(struct pollfd *files, nfds_t count, int timeout)
{
	(void)files;
	(void)count;
	(void)timeout;
	return 0;
}
#define poll no_poll

static size_t take_records(const uint8_t *buffer)
{
	static int calls;
	size_t at = 0;
	int records = 0;

	if (calls++)
		exit(0);
	while (at + sizeof(struct zem_record_header) <= ZEM_SHARED_SIZE) {
		struct zem_record_header header;
		memcpy(&header, buffer + at, sizeof(header));
		if (header.timestamp == 0)
			break;
		at += sizeof(header) + header.len;
		records++;
	}
	printf("%d records, %zu bytes\n", records, at);
	return at;
}

static void report_loss(size_t held, size_t walked)
{
	printf("held %zu, walked %zu\n", held, walked);
}

int main(void)
{
)c";

} // namespace

class ReadingLoopTest : public CommandTest {
protected:
	void SetUp() override
	{
		CommandTest::SetUp();
		put("loop.c", std::string(kBefore) + loop_of_the_page() + "}\n");
		const Result result = shell("cc -D_GNU_SOURCE -std=c11 -Wall -Wextra -Werror "
					    "-o loop loop.c -I" ZEMCTL_UAPI);
		ASSERT_EQ(result.status, 0) << result.err;
	}
};

TEST_F(ReadingLoopTest, takes_the_records)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "one") + made_record(ZEM_CHANNEL_FS, "two"));
	EXPECT_EQ(shell("./loop").out, "2 records, 70 bytes\n");
}

TEST_F(ReadingLoopTest, reports_records_that_arrived_before_the_hand_back)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "one"));
	put("zem/trace", std::string_view("\x46\0\0\0", 4));
	EXPECT_EQ(shell("./loop").out, "1 records, 35 bytes\nheld 70, walked 35\n");
}

TEST_F(ReadingLoopTest, reports_a_hand_back_of_another_reader)
{
	show_records(made_record(ZEM_CHANNEL_TEST, "one"));
	put("zem/trace", "");
	EXPECT_EQ(shell("./loop").out, "1 records, 35 bytes\nheld 0, walked 35\n");
}

} // namespace zemctl
