// SPDX-License-Identifier: GPL-2.0
/*
 * The kernel's counters of lost records: their growth, unknown counters, and a module that was
 * reloaded meanwhile.
 */
#include "kernel/kernel_loss.h"

#include <gtest/gtest.h>

#include "base/errors.h"
#include "module_files.h"

namespace zemctl {

TEST(KernelLossTest, what_was_lost_before_is_not_this_runs)
{
	const ModuleFiles files;
	for (const std::string_view file : kModuleCounters)
		files.count(file, 1000);
	LossMeter loss(files.counters());
	EXPECT_EQ(loss.update(), 0u);
	EXPECT_EQ(loss.growth().lost(), 0u);
	EXPECT_TRUE(loss.is_known());
}

TEST(KernelLossTest, each_way_of_losing_a_record_counts)
{
	for (const char *file :
	     {"records_overwritten", "records_refused", "records_too_large", "records_dropped"}) {
		const ModuleFiles files;
		LossMeter loss(files.counters());
		files.count(file, 5);
		EXPECT_EQ(loss.update(), 5u) << file;
		EXPECT_EQ(loss.growth().lost(), 5u) << file;
	}
}

TEST(KernelLossTest, what_is_no_lost_record_does_not_count)
{
	for (const char *file : {"records_pushed", "notify_timeouts", "empty_passes",
				 "uids_refused", "svp_tasks_refused"}) {
		const ModuleFiles files;
		LossMeter loss(files.counters());
		files.count(file, 5);
		EXPECT_EQ(loss.update(), 0u) << file;
		EXPECT_EQ(loss.growth().lost(), 0u) << file;
	}
}

TEST(KernelLossTest, an_update_has_what_is_new_and_the_growth_has_all)
{
	const ModuleFiles files;
	LossMeter loss(files.counters());
	files.count("records_overwritten", 3);
	EXPECT_EQ(loss.update(), 3u);
	files.count("records_overwritten", 4);
	files.count("records_dropped", 10);
	EXPECT_EQ(loss.update(), 11u);
	EXPECT_EQ(loss.update(), 0u);
	EXPECT_EQ(loss.growth().loss_text(), "4 overwritten, 0 refused, 0 too large, 10 dropped");
}

TEST(KernelLossTest, the_largest_numbers_survive)
{
	const ModuleFiles files;
	files.count("records_pushed", UINT64_MAX - 1);
	LossMeter loss(files.counters());
	files.count("records_pushed", UINT64_MAX);
	loss.update();
	EXPECT_EQ(loss.growth()[KernelCounter::kPushed], 1u);
	EXPECT_FALSE(loss.has_restarted());
}

TEST(KernelLossTest, a_counter_without_a_file_is_unknown)
{
	for (const KernelCounter counter : kLossCounters) {
		const ModuleFiles files;
		fs::remove(files.counters() / kModuleCounters[static_cast<std::size_t>(counter)]);
		LossMeter loss(files.counters());
		loss.update();
		EXPECT_FALSE(loss.growth()[counter].has_value());
		EXPECT_FALSE(loss.is_known());
	}
	const ModuleFiles files;
	fs::remove(files.counters() / "records_refused");
	EXPECT_EQ(KernelCounters::read(files.counters()).loss_text(),
		  "0 overwritten, ? refused, 0 too large, 0 dropped");
}

TEST(KernelLossTest, a_counter_whose_file_appears_or_disappears_is_unknown)
{
	const ModuleFiles files;
	fs::remove(files.counters() / "records_dropped");
	LossMeter later(files.counters());
	files.count("records_dropped", 3);
	EXPECT_EQ(later.update(), 0u);
	EXPECT_FALSE(later.is_known());

	LossMeter gone(files.counters());
	files.count("records_dropped", 5);
	EXPECT_EQ(gone.update(), 2u);
	fs::remove(files.counters() / "records_dropped");
	EXPECT_EQ(gone.update(), 0u);
	EXPECT_FALSE(gone.is_known());
}

TEST(KernelLossTest, a_module_that_was_loaded_again_is_noticed)
{
	const ModuleFiles files;
	files.count("records_pushed", 50);
	files.count("records_overwritten", 10);
	LossMeter loss(files.counters());
	files.count("records_overwritten", 12);
	EXPECT_EQ(loss.update(), 2u);
	files.count("records_pushed", 0);
	files.count("records_overwritten", 1);
	EXPECT_EQ(loss.update(), 1u);
	EXPECT_TRUE(loss.has_restarted());
	EXPECT_FALSE(loss.is_known());
	EXPECT_EQ(loss.growth().lost(), 3u);
	loss.update();
	EXPECT_TRUE(loss.has_restarted()) << "it stays set";
}

TEST(KernelLossTest, a_file_that_holds_no_number_is_named)
{
	const ModuleFiles files;
	for (const char *text : {"", "\n", "x\n", "-1\n", "18446744073709551616\n", "1 2\n"}) {
		files.put("module/counters/records_pushed", text);
		EXPECT_THROW(KernelCounters::read(files.counters()), Failure) << text;
	}
}

} // namespace zemctl
