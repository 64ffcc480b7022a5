// SPDX-License-Identifier: GPL-2.0
/* Runs the families. Called by start-up, shut-down, the collector and the trigger. */
#include "core/families.h"

namespace zem {

namespace {

void run_each(void (*Family::*step)())
{
	for (const Family &family : families)
		if (family.*step)
			(family.*step)();
}

} /* namespace */

const char *families_init()
{
	for (const Family &family : families)
		if (family.init && family.init())
			return family.failure;
	return nullptr;
}

void families_attach_restricted()
{
	run_each(&Family::attach_restricted);
}

void families_abandon()
{
	run_each(&Family::abandon);
}

void families_destroy()
{
	run_each(&Family::destroy);
}

void families_prime()
{
	run_each(&Family::prime);
}

void families_at_trigger()
{
	run_each(&Family::at_trigger);
}

/* Restarts the counter before the family runs, even if the family then has nothing to do. */
bool CycleCounters::due(size_t family)
{
	const u32 waited = waited_[family].load() + 1;
	const auto interval = static_cast<u32>(interval_of(families[family].interval));
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
