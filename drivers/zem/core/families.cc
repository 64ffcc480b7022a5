// SPDX-License-Identifier: GPL-2.0
/* What each family uploads, and when it is its turn. Called by the collector and the trigger. */
#include "core/families.h"

#include "core/records.h"
#include "core/settings.h"
#include "linux/zem.h"

/* Written by their providers without a lock, read here once for each use. */
void *(*get_all_kmemind_func)(void) = nullptr;
void (*display_error_zem_update)(int interval) = nullptr;

namespace zem {

namespace {

void upload_kmem()
{
	auto *get = __atomic_load_n(&get_all_kmemind_func, __ATOMIC_RELAXED);
	void *block = get ? get() : nullptr;
	if (!block)
		return;
	push_block(ZEM_CHANNEL_KMEM, block, sizeof(zem_kmem));
	__builtin_memset(block, 0, sizeof(zem_kmem));
}

/* The block is neither uploaded nor cleared: whatever it holds belongs to the first cycle. */
void prime_kmem()
{
	if (auto *get = __atomic_load_n(&get_all_kmemind_func, __ATOMIC_RELAXED))
		get();
}

void update_display()
{
	if (auto *update = __atomic_load_n(&display_error_zem_update, __ATOMIC_RELAXED))
		update(display_interval.load());
}

} /* namespace */

constinit const Family families[kFamilies] = {
	{
		.interval = kmemind_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kAlways,
		.upload = upload_kmem,
		.prime = prime_kmem,
	},
	{
		.interval = display_interval,
		.unit = IntervalUnit::kSeconds,
		.trigger = Trigger::kWhenDue,
		.upload = update_display,
		.prime = nullptr,
	},
};

void prime_families()
{
	for (const Family &family : families)
		if (family.prime)
			family.prime();
}

/* The counter starts anew before the family's work, also when there turns out to be none. */
bool CycleCounters::due(size_t family)
{
	const u32 waited = waited_[family].load() + 1;
	const auto interval = static_cast<u32>(families[family].interval.load());
	const u64 elapsed = u64{waited} * static_cast<u32>(families[family].unit);

	const bool is_due = interval != 0 && elapsed >= interval;
	waited_[family].store(is_due ? 0 : waited);
	return is_due;
}

void CycleCounters::run_periodic()
{
	for (size_t i = 0; i < kFamilies; i++)
		if (due(i))
			families[i].upload();
}

void CycleCounters::run_triggered()
{
	for (size_t i = 0; i < kFamilies; i++)
		if (families[i].trigger == Trigger::kAlways || due(i))
			families[i].upload();
}

} /* namespace zem */
