// SPDX-License-Identifier: GPL-2.0
/* /dev/zem_shared: sizes, errors, and mappings of the buffer. */
#include <cerrno>

#include "host/fixture.h"

namespace test {

using ::testing::Each;
using ::testing::SizeIs;

class SharedDevice : public ZemTest {};

TEST_F(SharedDevice, opens)
{
	EXPECT_EQ(kernel.misc.open("zem_shared"), 0);
}

TEST_F(SharedDevice, mapping_of_4096_bytes_is_the_first_page)
{
	push("seen");
	kernel.run_until_idle();
	const sim::Mapping mapping = kernel.misc.map("zem_shared", 4096);
	EXPECT_EQ(mapping.error, 0);
	EXPECT_THAT(mapping.bytes, SizeIs(4096));
	EXPECT_EQ(payloads(parse_records(mapping.bytes)), std::vector<std::string>{"seen"});
}

TEST_F(SharedDevice, mapping_of_one_byte_is_a_page)
{
	EXPECT_THAT(kernel.misc.map("zem_shared", 1).bytes, SizeIs(4096));
}

TEST_F(SharedDevice, mapping_of_8192_bytes_is_the_whole_buffer)
{
	const sim::Mapping mapping = kernel.misc.map("zem_shared", 8192);
	EXPECT_EQ(mapping.error, 0);
	EXPECT_THAT(mapping.bytes, SizeIs(8192));
	EXPECT_THAT(mapping.bytes, Each(std::byte{0}));
}

TEST_F(SharedDevice, larger_mappings_are_refused)
{
	EXPECT_EQ(kernel.misc.map("zem_shared", 8193).error, -EMSGSIZE);
	EXPECT_EQ(kernel.misc.map("zem_shared", 12288).error, -EMSGSIZE);
}

TEST_F(SharedDevice, failing_remap_is_EAGAIN)
{
	kernel.faults.fail("remap_pfn_range");
	EXPECT_EQ(kernel.misc.map("zem_shared", 4096).error, -EAGAIN);
	EXPECT_EQ(kernel.misc.map("zem_shared", 4096).error, 0);
}

TEST_F(SharedDevice, offset_is_ignored)
{
	push("first byte");
	kernel.run_until_idle();
	const sim::Mapping mapping = kernel.misc.map("zem_shared", 4096, 4096);
	EXPECT_EQ(mapping.bytes.data(), shared().data());
	EXPECT_EQ(kernel.misc.map("zem_shared", 8192, 1 << 20).bytes.data(), shared().data());
}

TEST_F(SharedDevice, mapping_shows_later_records_and_zeros_after_a_hand_back)
{
	const sim::Mapping mapping = kernel.misc.map("zem_shared", 8192);
	push("later");
	kernel.run_until_idle();
	EXPECT_EQ(payloads(parse_records(mapping.bytes)), std::vector<std::string>{"later"});
	EXPECT_EQ(hand_back(), 37U);
	EXPECT_THAT(mapping.bytes, Each(std::byte{0}));
}

} /* namespace test */
