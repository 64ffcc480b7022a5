// SPDX-License-Identifier: GPL-2.0
/* The pair of the last foreground apps, and which of them is current. */
#include "host/io_fixture.h"

namespace test {

class Foreground : public IoTest {
protected:
	[[nodiscard]] unsigned int foreground()
	{
		return module.symbol<unsigned int()>("get_current_fg_uid")();
	}
};

TEST_F(Foreground, is_the_one_that_came_last)
{
	EXPECT_EQ(foreground(), 0U);
	set("10050 0");
	EXPECT_EQ(foreground(), 10050U);
	set("10060 0");
	EXPECT_EQ(foreground(), 10060U);
	set("10050 1");
	EXPECT_EQ(foreground(), 10060U) << "the one before has left";
	set("10060 1");
	EXPECT_EQ(foreground(), 0U) << "its place is empty";
}

TEST_F(Foreground, when_the_current_one_leaves_the_one_before_is_current_again)
{
	set("10050 0");
	set("10060 0");
	set("10060 1");
	EXPECT_EQ(foreground(), 10050U);
	set("10050 1");
	EXPECT_EQ(foreground(), 0U);
}

TEST_F(Foreground, third_one_takes_the_place_of_the_one_that_is_not_current)
{
	set("10050 0");
	set("10060 0");
	set("10070 0");
	EXPECT_EQ(foreground(), 10070U);
	set("10070 1");
	EXPECT_EQ(foreground(), 10060U);
	set("10060 1");
	EXPECT_EQ(foreground(), 0U);
}

TEST_F(Foreground, one_that_is_known_becomes_current_where_it_is)
{
	set("10050 0");
	set("10060 0");
	set("10050 0");
	EXPECT_EQ(foreground(), 10050U);
	set("10060 0");
	EXPECT_EQ(foreground(), 10060U);
	set("10050 0");
	set("10070 0");
	/* It took the entry of 10060. */
	set("10070 1");
	EXPECT_EQ(foreground(), 10050U);
}

TEST_F(Foreground, one_that_is_in_neither_place_changes_nothing_by_leaving)
{
	set("10050 0");
	set("10060 0");
	set("10099 1");
	EXPECT_EQ(foreground(), 10060U);
}

TEST_F(Foreground, no_uid_is_in_both_places_while_they_are_empty)
{
	/* The pair is 0 and 0: root gets the first entry, and leaving makes that current. */
	set("0 0");
	EXPECT_EQ(foreground(), 0U);
	set("10050 0");
	EXPECT_EQ(foreground(), 10050U);
	set("10060 0");
	set("10060 1");
	EXPECT_EQ(foreground(), 10050U);
	set("0 1");
	EXPECT_EQ(foreground(), 10050U);
}

TEST_F(Foreground, current_one_that_comes_again_in_the_first_place_stays_there)
{
	/* 10050 has the second entry, 10060 the first. */
	set("10050 0");
	set("10060 0");
	set("10060 0");
	EXPECT_EQ(foreground(), 10060U);
	set("10060 1");
	EXPECT_EQ(foreground(), 10050U) << "10060 did not take its place";
}

TEST_F(Foreground, current_one_that_comes_again_in_the_second_place_stays_there)
{
	set("10050 0");
	set("10060 0");
	set("10050 0");
	set("10050 0");
	EXPECT_EQ(foreground(), 10050U);
	set("10050 1");
	EXPECT_EQ(foreground(), 10060U) << "10050 did not take its place";
}

} /* namespace test */
