// SPDX-License-Identifier: GPL-2.0
/* Takes samples of the health sums in two alternating buffers, and records the difference. */
#include "load/cgroup_metrics.h"

#include "kernel/api/slab.h"
#include "kernel/errno.h"
#include "kernel/lock.h"
#include "load/sched_healthinfo.h"

namespace zem {

constinit StaticKey<true> cgroup_metrics_enable;
constinit zem_cgroup cgroup_metrics_unit{};

namespace {

/* Guards all below: the collector, the trigger and readers sample. */
constinit Mutex cgroup_metrics_lock;

/* Null until start-up has made them and after shut-down. */
constinit HealthSums *cgroup_metrics_data = nullptr;
constinit HealthSums *cgroup_metrics_pre_data = nullptr;

constexpr const char *kNames[ZEM_CGROUPS] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};
static_assert(kHealthRows == ZEM_CGROUPS);

void name_entries()
{
	for (size_t k = 0; k < ZEM_CGROUPS; k++)
		__builtin_memcpy(cgroup_metrics_unit.entries[k].name, kNames[k],
				 __builtin_strlen(kNames[k]));
}

/* Unsigned: the difference wraps around after a restart of the sums. */
void cgroup_metrics_stat_sub(zem_cgroup_entry &out, const HealthTriple &a, const HealthTriple &b)
{
	out.lat = a[0] - b[0];
	out.d_io = a[1] - b[1];
	out.d_nonio = a[2] - b[2];
}

/* Return: whether there were buffers to take it into. */
bool take_sample()
{
	if (!cgroup_metrics_data || !cgroup_metrics_pre_data)
		return false;
	HealthSums *now = cgroup_metrics_data;
	HealthSums *before = cgroup_metrics_pre_data;

	__builtin_memset(now, 0, sizeof(*now));
	get_sched_healthinfo(now);
	for (size_t k = 0; k < ZEM_CGROUPS; k++)
		cgroup_metrics_stat_sub(cgroup_metrics_unit.entries[k], (*now)[k], (*before)[k]);
	cgroup_metrics_data = before;
	cgroup_metrics_pre_data = now;
	return true;
}

void clear_values()
{
	for (zem_cgroup_entry &entry : cgroup_metrics_unit.entries)
		entry.lat = entry.d_io = entry.d_nonio = 0;
}

/* @context is the address of a Setter. */
void cgroup_metrics_info_upload_each(const zem_cgroup &unit, void *context)
{
	if (const Setter set = *static_cast<const Setter *>(context))
		set(0, &unit, sizeof(unit), 0);
}

HealthSums *make_snapshot()
{
	return static_cast<HealthSums *>(helper_kzalloc(sizeof(HealthSums)));
}

} /* namespace */

void cgroup_metrics_info_iter(void (*emit)(const zem_cgroup &unit, void *context), void *context)
{
	LockGuard guard(cgroup_metrics_lock);
	if (!take_sample())
		return;
	if (emit)
		emit(cgroup_metrics_unit, context);
	clear_values();
}

void cgroup_metrics_info_upload(Setter set)
{
	if (cgroup_metrics_enable.is_on())
		cgroup_metrics_info_iter(cgroup_metrics_info_upload_each, &set);
}

int cgroup_metrics_init()
{
	cgroup_metrics_lock.init("zem_cgroup_metrics");
	sched_healthinfo_init();
	proc_cgroup_metrics_init();

	LockGuard guard(cgroup_metrics_lock);
	cgroup_metrics_data = make_snapshot();
	if (!cgroup_metrics_data)
		return -ENOMEM;
	cgroup_metrics_pre_data = make_snapshot();
	if (!cgroup_metrics_pre_data) {
		kfree(cgroup_metrics_data);
		cgroup_metrics_data = nullptr;
		return -ENOMEM;
	}
	name_entries();
	return 0;
}

void cgroup_metrics_destroy()
{
	proc_cgroup_metrics_destroy();
	kfree(cgroup_metrics_data);
	kfree(cgroup_metrics_pre_data);
	cgroup_metrics_data = nullptr;
	cgroup_metrics_pre_data = nullptr;
	sched_healthinfo_exit();
}

} /* namespace zem */
