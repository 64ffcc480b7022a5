// SPDX-License-Identifier: GPL-2.0
/*
 * CRC-32C against the published check values.
 */
#include "records/crc32c.h"

#include <array>

#include <gtest/gtest.h>

namespace zemctl {

namespace {

/* Both ways: the CPU's instruction, and the tables. */
class Crc32cTest : public testing::TestWithParam<std::uint32_t (*)(Bytes, std::uint32_t)> {
protected:
	static std::uint32_t crc_of(Bytes bytes, std::uint32_t before = 0)
	{
		return GetParam()(bytes, before);
	}
	static std::uint32_t crc_of(std::string_view text)
	{
		return crc_of(std::as_bytes(std::span(text)));
	}
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Ways, Crc32cTest, testing::Values(crc32c, crc32c_by_tables));

TEST_P(Crc32cTest, it_has_the_check_value_of_the_nine_digits)
{
	EXPECT_EQ(crc_of("123456789"), 0xe3069283u);
}

TEST_P(Crc32cTest, it_has_the_values_of_the_iscsi_standard)
{
	std::array<std::byte, 32> bytes{};
	EXPECT_EQ(crc_of(bytes), 0x8a9136aau);
	bytes.fill(std::byte{0xff});
	EXPECT_EQ(crc_of(bytes), 0x62a8ab43u);
	for (std::size_t i = 0; i < bytes.size(); i++)
		bytes[i] = static_cast<std::byte>(i);
	EXPECT_EQ(crc_of(bytes), 0x46dd794eu);
}

TEST(Crc32cWaysTest, the_ways_agree_at_every_length_and_alignment)
{
	std::array<std::byte, 160> bytes;
	for (std::size_t i = 0; i < bytes.size(); i++)
		bytes[i] = static_cast<std::byte>(i * 37 + 11);
	for (std::size_t from = 0; from < 8; from++)
		for (std::size_t size = 0; from + size <= bytes.size(); size++) {
			const Bytes part = Bytes(bytes).subspan(from, size);
			EXPECT_EQ(crc32c(part), crc32c_by_tables(part)) << from << ' ' << size;
		}
}

TEST_P(Crc32cTest, of_nothing_it_is_zero)
{
	EXPECT_EQ(crc_of(""), 0u);
}

TEST_P(Crc32cTest, it_continues_at_every_byte)
{
	const std::string_view text = "a text of more than sixteen bytes";
	for (std::size_t i = 0; i <= text.size(); i++) {
		const std::uint32_t first = crc_of(text.substr(0, i));
		EXPECT_EQ(crc_of(std::as_bytes(std::span(text.substr(i))), first), crc_of(text));
	}
}

} // namespace zemctl
