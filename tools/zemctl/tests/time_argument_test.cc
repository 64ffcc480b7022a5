// SPDX-License-Identifier: GPL-2.0
/*
 * Points in time as users write them.
 */
#include "text/time_argument.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace zemctl {

namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;
/* 2026-11-22 14:05:06.25 UTC */
constexpr std::uint64_t kNow = 1'795'356'306 * kSecond + 250'000'000;
constexpr std::uint64_t kMidnight = 1'795'305'600 * kSecond;

std::optional<std::uint64_t> utc(const std::string &text)
{
	return parse_time(text, kNow, Calendar::Zone::kUtc);
}

/* Sets the zone of the process until the end of the test. */
class LocalZone {
public:
	explicit LocalZone(const char *zone) { set(zone); }
	~LocalZone() { set("UTC"); }

private:
	static void set(const char *zone)
	{
		::setenv("TZ", zone, 1);
		::tzset();
	}
};

} // namespace

TEST(parse_time, dates_and_times)
{
	EXPECT_EQ(utc("2026-11-22"), kMidnight);
	EXPECT_EQ(utc("2026-11-22 14:05"), kNow / kSecond / 60 * 60 * kSecond);
	EXPECT_EQ(utc("2026-11-22 14:05:06"), kNow - 250'000'000);
	EXPECT_EQ(utc("2026-11-22T14:05:06.25"), kNow);
	EXPECT_EQ(utc("2026-11-22T14:05:06.250000001Z"), kNow + 1);
	EXPECT_EQ(utc("1970-01-01"), 0u);
}

TEST(parse_time, a_time_is_of_today)
{
	EXPECT_EQ(utc("00:00"), kMidnight);
	EXPECT_EQ(utc("14:05:06.25"), kNow);
	EXPECT_EQ(utc("23:59:59"), kMidnight + (24 * 3600 - 1) * kSecond);
}

TEST(parse_time, the_zone_is_the_users_unless_the_text_names_utc)
{
	const LocalZone zone("XYZ-9");
	EXPECT_EQ(parse_time("2026-11-22 09:00", kNow, Calendar::Zone::kLocal), kMidnight);
	EXPECT_EQ(parse_time("2026-11-22 09:00Z", kNow, Calendar::Zone::kLocal),
		  kMidnight + 9 * 3600 * kSecond);
	EXPECT_EQ(parse_time("2026-11-22 09:00", kNow, Calendar::Zone::kUtc),
		  kMidnight + 9 * 3600 * kSecond);
	EXPECT_EQ(parse_time("23:05:06.25", kNow, Calendar::Zone::kLocal), kNow);
}

TEST(parse_time, seconds_since_the_epoch)
{
	EXPECT_EQ(utc("@0"), 0u);
	EXPECT_EQ(utc("@1795356306.25"), kNow);
	EXPECT_EQ(utc("@18446744073"), std::nullopt) << "later than a header can say";
}

TEST(parse_time, a_time_before_now)
{
	EXPECT_EQ(utc("-90s"), kNow - 90 * kSecond);
	EXPECT_EQ(utc("-15m"), kNow - 15 * 60 * kSecond);
	EXPECT_EQ(utc("-2h"), kNow - 2 * 3600 * kSecond);
	EXPECT_EQ(utc("-1d"), kNow - 24 * 3600 * kSecond);
	EXPECT_EQ(utc("-99999d"), std::nullopt) << "before the epoch";
}

TEST(parse_time, other_texts_are_refused)
{
	for (const char *text : {"",
				 "x",
				 "@",
				 "@x",
				 "@-1",
				 "@1.",
				 "@1.2.3",
				 "@1.1234567890",
				 "-",
				 "-5",
				 "-5x",
				 "-m",
				 "--5m",
				 "-5 m",
				 "5m",
				 "24:00",
				 "12:60",
				 "12:00:61",
				 "12",
				 "12:00.5",
				 "2026-13-01",
				 "2026-02-30",
				 "2026-11-22 14:05:06.",
				 "2026-11-22 14:05:06.5x",
				 "2026-11-22 x",
				 "2026-11-22Z5",
				 "1969-12-31",
				 "Z"})
		EXPECT_EQ(utc(text), std::nullopt) << text;
}

} // namespace zemctl
