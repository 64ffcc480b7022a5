// SPDX-License-Identifier: GPL-2.0
/* /proc/zem_procstat: foreground UIDs, and forgotten UIDs. */
#include <cerrno>

#include "host/io_fixture.h"

namespace test {

class UidControl : public IoTest {
protected:
	[[nodiscard]] unsigned int foreground()
	{
		return module.symbol<unsigned int()>("get_current_fg_uid")();
	}

	[[nodiscard]] bool is_known(unsigned int uid)
	{
		/* A known UID is in the foreground unless another state was set. */
		return state_of(uid) == 0;
	}

	[[nodiscard]] size_t entries() { return kernel.slab.allocations() - allocations; }

	void SetUp() override
	{
		IoTest::SetUp();
		allocations = kernel.slab.allocations();
	}

	/* A text padded with spaces on the right. */
	[[nodiscard]] static std::string sized(std::string text, size_t size)
	{
		text.resize(size, ' ');
		return text;
	}

	size_t allocations = 0;
};

TEST_F(UidControl, files_are_only_for_writing)
{
	EXPECT_EQ(kernel.proc.read("zem_procstat/set").result, -EIO);
	EXPECT_EQ(kernel.proc.read("zem_procstat/remove_uid_range").result, -EIO);
}

struct Text {
	std::string text;
	ssize_t result;
};

class SetTexts : public UidControl, public ::testing::WithParamInterface<Text> {};

TEST_P(SetTexts, are_taken_whole_or_change_nothing)
{
	EXPECT_EQ(set(GetParam().text), GetParam().result);
	EXPECT_EQ(entries(), GetParam().result > 0 ? 1U : 0U);
	EXPECT_EQ(foreground(), GetParam().result > 0 ? 10050U : 0U);
	EXPECT_EQ(state_of(10050), GetParam().result > 0 ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
	UidTexts, SetTexts,
	::testing::Values(Text{"10050 0", 7}, Text{"10050 0\n", 8}, Text{" 10050\t0", 8},
			  Text{"10050 0 and more", 16}, Text{"10050 -0", 8}, Text{"10050 00", 8},
			  Text{std::string("10050 0\0 7", 10), 10}, Text{"", -EINVAL},
			  Text{"0", -EINVAL}, Text{"10050", -EINVAL}, Text{"10050 ", -EINVAL},
			  Text{"10050 x", -EINVAL}, Text{"x 0", -EINVAL}, Text{"-10050 0", -EINVAL},
			  Text{"10050,0", -EINVAL}, Text{"10050 2", -EINVAL},
			  Text{"10050 -1", -EINVAL}, Text{"10050 +0", -EINVAL},
			  Text{std::string("10050\0 0", 8), -EINVAL}));

TEST_F(UidControl, number_without_a_state_does_not_get_the_one_of_the_text_before)
{
	for (const char *text : {"10050 0", "10050 1", "10050 0"}) {
		EXPECT_EQ(set(text), 7);
		EXPECT_EQ(set("10060"), -EINVAL);
	}
	EXPECT_EQ(foreground(), 10050U);
	EXPECT_EQ(entries(), 1U);
}

TEST_F(UidControl, set_takes_up_to_127_bytes)
{
	EXPECT_EQ(set(sized("10050 0", 126)), 126);
	EXPECT_EQ(set(sized("10051 0", 127)), 127);
	EXPECT_EQ(set(sized("10052 0", 128)), -EINVAL);
	EXPECT_EQ(set(sized("10053 0", 200)), -EINVAL);
	EXPECT_TRUE(is_known(10050));
	EXPECT_TRUE(is_known(10051));
	EXPECT_FALSE(is_known(10052));
	EXPECT_FALSE(is_known(10053));
	/* The last byte that fits is used. */
	EXPECT_EQ(set(std::string(119, ' ') + "10054 01"), 127);
	EXPECT_FALSE(is_known(10054));
	EXPECT_EQ(set(std::string(119, ' ') + "10054 02"), -EINVAL);
}

TEST_F(UidControl, text_that_cannot_be_read_is_a_fault)
{
	EXPECT_EQ(kernel.proc.write_faulting("zem_procstat/set", 7), -EFAULT);
	EXPECT_EQ(kernel.proc.write_faulting("zem_procstat/set", 128), -EINVAL)
		<< "the length is looked at before";
	EXPECT_EQ(kernel.proc.write_faulting("zem_procstat/remove_uid_range", 7), -EFAULT);
	EXPECT_EQ(kernel.proc.write_faulting("zem_procstat/remove_uid_range", 300), -EFAULT);
	EXPECT_EQ(entries(), 0U);
}

TEST_F(UidControl, state_2_and_below_0_change_nothing_for_a_known_uid)
{
	set("10050 1");
	for (const char *text : {"10050 2", "10050 -1", "10050 256"})
		EXPECT_EQ(set(text), -EINVAL);
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_EQ(foreground(), 0U);
}

TEST_F(UidControl, foreground_is_noted_even_when_there_is_no_memory_for_the_uid)
{
	kernel.faults.fail("kzalloc_atomic");
	EXPECT_EQ(set("10050 0"), -EINVAL);
	EXPECT_EQ(foreground(), 10050U);
	EXPECT_EQ(entries(), 0U);
}

TEST_F(UidControl, foreground_is_noted_before_the_uid_is_looked_for)
{
	unsigned int noted = 0;
	kernel.faults.at("kzalloc_atomic", [&] { noted = foreground(); });
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_EQ(noted, 10050U);
}

TEST_F(UidControl, uid_forgotten_before_its_state_changes_is_created_again)
{
	kernel.faults.at("mutex_lock", [this] { EXPECT_EQ(forget("0-20000"), 7); });
	EXPECT_EQ(set("10050 1"), 7);
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_EQ(entries(), 1U);
}

TEST_F(UidControl, without_memory_for_making_it_again_the_change_is_refused)
{
	kernel.faults.at("mutex_lock", [this] {
		EXPECT_EQ(forget("0-20000"), 7);
		kernel.faults.fail("kzalloc_atomic");
	});
	EXPECT_EQ(set("10050 1"), -EINVAL);
	EXPECT_EQ(entries(), 0U);
}

TEST_F(UidControl, known_uid_needs_no_memory)
{
	set("10050 0");
	kernel.faults.fail_from("kzalloc_atomic");
	EXPECT_EQ(set("10050 1"), 7);
	EXPECT_EQ(state_of(10050), 1U);
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_EQ(state_of(10050), 0U);
	EXPECT_EQ(entries(), 1U);
}

TEST_F(UidControl, range_is_forgotten_when_no_state_is_being_changed)
{
	/* During the change, at the second allocation. */
	std::unique_ptr<sim::Thread> other;
	kernel.faults.at(
		"kzalloc_atomic",
		[&] {
			other = std::make_unique<sim::Thread>(
				kernel.spawn("other", [this] { EXPECT_EQ(forget("0-20000"), 7); }));
			kernel.run_until_idle();
			EXPECT_FALSE(other->ended());
		},
		2);
	EXPECT_EQ(set("10050 1"), 7);
	ASSERT_TRUE(other);
	other->join();
	EXPECT_EQ(entries(), 0U);
}

/* A look-up that began before may still use an entry. The next one does not find it. */
TEST_F(UidControl, forgotten_uids_are_freed_after_a_grace_period)
{
	set("10050 0");
	set("10060 0");
	bool waited = false;
	kernel.faults.at("synchronize_rcu", [&] {
		waited = true;
		EXPECT_EQ(entries(), 2U);
		EXPECT_EQ(state_of(10050), 1U);
		EXPECT_EQ(state_of(10060), 0U);
		/* Collections do not wait for it. */
		static_cast<void>(collect());
	});
	EXPECT_EQ(forget("10050-10059"), 11);
	EXPECT_TRUE(waited);
	EXPECT_EQ(entries(), 1U);
}

TEST_F(UidControl, forgetting_nobody_waits_for_nothing)
{
	set("10050 0");
	bool waited = false;
	kernel.faults.at("synchronize_rcu", [&] { waited = true; });
	EXPECT_EQ(forget("10060-10069"), 11);
	EXPECT_FALSE(waited);
	kernel.faults.clear();
}

TEST_F(UidControl, unloading_forgets_the_largest_uid_too)
{
	EXPECT_EQ(set("4294967295 0"), 12);
	EXPECT_EQ(set("0 1"), 3);
	EXPECT_EQ(entries(), 2U);
}

TEST_F(UidControl, concurrent_writers_of_the_same_uid_create_one_entry)
{
	kernel.faults.at("kzalloc_atomic", [this] {
		kernel.scheduler.meanwhile_on_cpu(1, [this] { EXPECT_EQ(set("10050 0"), 7); });
	});
	EXPECT_EQ(set("10050 0"), 7);
	EXPECT_EQ(entries(), 1U);
}

class RemoveTexts : public UidControl, public ::testing::WithParamInterface<Text> {
protected:
	void SetUp() override
	{
		UidControl::SetUp();
		for (const char *text : {"10049 0", "10050 0", "10055 0", "10060 0", "10061 0"})
			set(text);
	}
};

TEST_P(RemoveTexts, forget_the_range_or_nothing)
{
	EXPECT_EQ(forget(GetParam().text), GetParam().result);
	const bool forgets = GetParam().result > 0;
	EXPECT_TRUE(is_known(10049));
	EXPECT_EQ(is_known(10050), !forgets);
	EXPECT_EQ(is_known(10055), !forgets);
	EXPECT_EQ(is_known(10060), !forgets);
	EXPECT_TRUE(is_known(10061));
	EXPECT_EQ(entries(), forgets ? 2U : 5U);
}

INSTANTIATE_TEST_SUITE_P(
	UidTexts, RemoveTexts,
	::testing::Values(Text{"10050-10060", 11}, Text{"10050-10060\n", 12},
			  Text{"+10050-+10060", 13}, Text{"10050\n-10060\n", 13},
			  Text{"010050-010060", 13}, Text{std::string("10050-10060\0x", 13), 13},
			  Text{"", -EINVAL}, Text{"-", -EINVAL}, Text{"10050", -EINVAL},
			  Text{"10050 10060", -EINVAL}, Text{"10050-", -EINVAL},
			  Text{"-10060", -EINVAL}, Text{"10050-10060 ", -EINVAL},
			  Text{" 10050-10060", -EINVAL}, Text{"10050 - 10060", -EINVAL},
			  Text{"0x2742-0x274c", -EINVAL}, Text{"10050-10060\n\n", -EINVAL},
			  Text{"10050-10060-10070", -EINVAL}, Text{"x-y", -EINVAL},
			  Text{"10050-9223372036854775808", -EINVAL}, Text{"-10050-10060", -EINVAL},
			  Text{"\n-10060", -EINVAL},
			  Text{std::string("\0"
					   "10050-10060",
					   12),
			       -EINVAL}));

TEST_F(UidControl, range_that_ends_before_it_begins_forgets_nothing)
{
	set("15 0");
	EXPECT_EQ(forget("20-10"), 5);
	EXPECT_EQ(forget("0--1"), 4);
	EXPECT_TRUE(is_known(15));
}

TEST_F(UidControl, range_of_one_and_range_of_all)
{
	for (const char *text : {"0 1", "1 0", "4294967295 0", "10050 0"})
		set(text);
	EXPECT_EQ(entries(), 4U);
	EXPECT_EQ(forget("1-1"), 3);
	EXPECT_EQ(entries(), 3U);
	EXPECT_EQ(forget("4294967295-4294967295"), 21);
	EXPECT_EQ(entries(), 2U);
	EXPECT_EQ(forget("0-9223372036854775807"), 21);
	EXPECT_EQ(entries(), 0U);
}

TEST_F(UidControl, numbers_beyond_32_bits_are_no_uid)
{
	set("5 0");
	EXPECT_EQ(forget("4294967296-9223372036854775807"), 30);
	EXPECT_EQ(forget("4294967301-4294967301"), 21);
	EXPECT_TRUE(is_known(5));
	EXPECT_EQ(forget("0--9223372036854775808"), 22);
	EXPECT_TRUE(is_known(5));
}

TEST_F(UidControl, range_of_all_uids_visits_each_bucket_once)
{
	set("5 0");
	/* Each bucket is visited once, as the number of locks shows. */
	unsigned int locks = 0;
	std::function<void()> count = [&] {
		locks++;
		kernel.faults.at("raw_spin_lock_irqsave", count);
	};
	kernel.faults.at("raw_spin_lock_irqsave", count);
	EXPECT_EQ(forget("0-9223372036854775807"), 21);
	kernel.faults.clear();
	EXPECT_LE(locks, 1100U);
	EXPECT_GE(locks, 1024U);
	EXPECT_EQ(entries(), 0U);
}

TEST_F(UidControl, remove_takes_127_bytes_of_what_is_longer)
{
	set("10050 0");
	/* A number after 120 zeros, and digits that are cut off. */
	const std::string zeros(115, '0');
	EXPECT_EQ(forget("10050-" + zeros + "10050"), 126);
	EXPECT_FALSE(is_known(10050));

	set("10050 0");
	EXPECT_EQ(forget("10050-" + zeros + "010050"), 127);
	EXPECT_FALSE(is_known(10050));

	set("10050 0");
	EXPECT_EQ(forget("10050-" + zeros + "0100501"), 127);
	EXPECT_FALSE(is_known(10050)) << "the 128th byte is not read";

	set("10050 0");
	EXPECT_EQ(forget("10050-" + zeros + "010050" + std::string(73, 'x')), 127);
	EXPECT_FALSE(is_known(10050));
	EXPECT_EQ(forget(std::string(127, '1') + "-2"), -EINVAL) << "the dash is cut off";
}

TEST_F(UidControl, uids_that_share_a_bucket_are_apart)
{
	const auto bucket = [](u32 uid) {
		return uid * 0x61c88647u >> 22;
	};
	std::vector<u32> alike;
	for (u32 uid = 10000; alike.size() < 4; uid++)
		if (bucket(uid) == bucket(10000))
			alike.push_back(uid);
	for (const u32 uid : alike)
		set(std::to_string(uid) + " 0");
	set(std::to_string(alike[2]) + " 1");
	EXPECT_EQ(state_of(alike[0]), 0U);
	EXPECT_EQ(state_of(alike[1]), 0U);
	EXPECT_EQ(state_of(alike[2]), 1U);
	EXPECT_EQ(state_of(alike[3]), 0U);
	/* A UID in the middle of the chain. */
	const std::string range = std::to_string(alike[1]) + "-" + std::to_string(alike[1]);
	EXPECT_EQ(forget(range), 11);
	EXPECT_EQ(entries(), 3U);
	EXPECT_TRUE(is_known(alike[0]));
	EXPECT_FALSE(is_known(alike[1]));
	EXPECT_EQ(state_of(alike[2]), 1U);
	EXPECT_TRUE(is_known(alike[3]));
	forget(std::to_string(alike[0]) + "-" + std::to_string(alike[3]));
	EXPECT_EQ(entries(), 0U);
}

} /* namespace test */
