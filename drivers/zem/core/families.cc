// SPDX-License-Identifier: GPL-2.0
/* The uploads of each family and their intervals. Called by the collector and the trigger. */
#include "core/families.h"

#include "core/records.h"
#include "core/settings.h"
#include "io/kioind.h"
#include "kernel/atomic.h"
#include "kernel/lock.h"
#include "linux/zem.h"
#include "load/health/cgroup_metrics.h"
#include "load/load_metrics.h"
#include "sched/sched_metrics.h"
#include "sched/svp_metrics.h"

/* Providers set these without a lock. Each use reads the pointer once. */
void *(*get_all_kmemind_func)(void) = nullptr;
void (*display_error_zem_update)(int interval) = nullptr;

namespace zem {

namespace {

/*
 * Serialises the collector and triggers: a static payload block must be copied, and cleared, before
 * it is filled again.
 */
constinit Mutex block_lock;

void upload_kmem()
{
	auto *get = read_once(get_all_kmemind_func);
	LockGuard guard(block_lock);
	void *block = get ? get() : nullptr;
	if (!block)
		return;
	push_block(ZEM_CHANNEL_KMEM, block, sizeof(zem_kmem));
	__builtin_memset(block, 0, sizeof(zem_kmem));
}

/* Neither uploads nor clears the block: its content belongs to the first cycle. */
void prime_kmem()
{
	auto *get = read_once(get_all_kmemind_func);
	LockGuard guard(block_lock);
	if (get)
		get();
}

void upload_kio()
{
	kioind_upload([](const zem_kio &snapshot) {
		push_block(ZEM_CHANNEL_KIO, &snapshot, sizeof(snapshot));
	});
}

void upload_sched()
{
	LockGuard guard(block_lock);
	push_block(ZEM_CHANNEL_SCHED, sched_metrics_info_upload(), sizeof(zem_sched));
}

void prime_sched()
{
	LockGuard guard(block_lock);
	static_cast<void>(sched_metrics_info_upload());
}

void upload_svp()
{
	svp_metrics_info_upload(svp_zem_set);
}

void prime_svp()
{
	svp_metrics_info_upload(nullptr);
}

/* The upload of the CPUs closes the window in which the tasks are sampled. */
void upload_load()
{
	cpu_metrics_info_upload(cpu_zem_set);
	load_metrics_info_upload(load_zem_set);
}

void prime_load()
{
	cpu_metrics_info_upload(nullptr);
	load_metrics_info_upload(nullptr);
}

void upload_cgroup()
{
	cgroup_metrics_info_upload(cgroup_zem_set);
}

void prime_cgroup()
{
	cgroup_metrics_info_upload(nullptr);
}

void upload_kzerod()
{
	LockGuard guard(block_lock);
	zem_kzerod *totals = get_kzerod_info();
	push_block(ZEM_CHANNEL_KZEROD, totals, sizeof(*totals));
	__builtin_memset(totals, 0, sizeof(*totals));
}

void update_display()
{
	if (auto *update = read_once(display_error_zem_update))
		update(display_interval.load());
}

/* The interval of a family that the collector thread never runs. */
constinit const Relaxed<int> never{0};

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
		.interval = kioind_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kWhenDue,
		.upload = upload_kio,
		.prime = kioind_prime,
	},
	{
		.interval = sched_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kWhenDue,
		.upload = upload_sched,
		.prime = prime_sched,
	},
	{
		.interval = svp_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kWhenDue,
		.upload = upload_svp,
		.prime = prime_svp,
	},
	{
		.interval = load_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kWhenDue,
		.upload = upload_load,
		.prime = prime_load,
	},
	{
		.interval = cgroup_interval,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kWhenDue,
		.upload = upload_cgroup,
		.prime = prime_cgroup,
	},
	{
		.interval = display_interval,
		.unit = IntervalUnit::kSeconds,
		.trigger = Trigger::kWhenDue,
		.upload = update_display,
		.prime = nullptr,
	},
	{
		.interval = never,
		.unit = IntervalUnit::kCycles,
		.trigger = Trigger::kAlways,
		.upload = upload_kzerod,
		.prime = nullptr,
	},
};

void families_init()
{
	block_lock.init("zem_blocks");
}

void prime_families()
{
	for (const Family &family : families)
		if (family.prime)
			family.prime();
}

/* Restarts the counter before the family runs, even if the family then has nothing to do. */
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
