// SPDX-License-Identifier: GPL-2.0
/* Takes samples of the health sums in two alternating buffers, and records the difference. */
#include "load/health/cgroup_metrics.h"

#include "kernel/api/slab.h"
#include "kernel/errno.h"
#include "kernel/guarded.h"
#include "kernel/switch_file.h"

namespace zem {

constinit Guarded<CgroupSamples, Mutex> cgroup_samples;

namespace {

constinit StaticKey<true> cgroup_metrics_enable;

constexpr const char *kNames[ZEM_CGROUPS] = {"all", "root", "fg", "top", "bg", "sysbg", "svp"};
static_assert(kHealthRows == ZEM_CGROUPS);

void name_entries(zem_cgroup &unit)
{
	for (size_t k = 0; k < ZEM_CGROUPS; k++)
		__builtin_memcpy(unit.entries[k].name, kNames[k], __builtin_strlen(kNames[k]));
}

/* Unsigned: the difference wraps around after a restart of the sums. */
void cgroup_metrics_stat_sub(zem_cgroup_entry &out, const HealthTriple &a, const HealthTriple &b)
{
	out.lat = a[0] - b[0];
	out.d_io = a[1] - b[1];
	out.d_nonio = a[2] - b[2];
}

/* Return: whether there were buffers for the sample. */
bool take_sample(CgroupSamples &samples)
{
	HealthSums *now = samples.cgroup_metrics_data;
	HealthSums *before = samples.cgroup_metrics_pre_data;
	if (!now || !before)
		return false;

	__builtin_memset(now, 0, sizeof(*now));
	get_sched_healthinfo(now);
	for (size_t k = 0; k < ZEM_CGROUPS; k++)
		cgroup_metrics_stat_sub(samples.cgroup_metrics_unit.entries[k], (*now)[k],
					(*before)[k]);
	samples.cgroup_metrics_data = before;
	samples.cgroup_metrics_pre_data = now;
	return true;
}

void clear_values(zem_cgroup &unit)
{
	for (zem_cgroup_entry &entry : unit.entries)
		entry.lat = entry.d_io = entry.d_nonio = 0;
}

HealthSums *alloc_snapshot()
{
	return static_cast<HealthSums *>(helper_kzalloc(sizeof(HealthSums)));
}

int alloc_snapshots(CgroupSamples &samples)
{
	samples.cgroup_metrics_data = alloc_snapshot();
	if (!samples.cgroup_metrics_data)
		return -ENOMEM;
	samples.cgroup_metrics_pre_data = alloc_snapshot();
	if (!samples.cgroup_metrics_pre_data) {
		kfree(samples.cgroup_metrics_data);
		samples.cgroup_metrics_data = nullptr;
		return -ENOMEM;
	}
	return 0;
}

void free_snapshots(CgroupSamples &samples)
{
	kfree(samples.cgroup_metrics_data);
	kfree(samples.cgroup_metrics_pre_data);
	samples.cgroup_metrics_data = nullptr;
	samples.cgroup_metrics_pre_data = nullptr;
}

} /* namespace */

constinit const proc_file cgroup_metrics_switch = switch_over(cgroup_metrics_enable);

void cgroup_metrics_info_iter(FunctionRef<void(const zem_cgroup &unit)> emit)
{
	cgroup_samples.with([emit](CgroupSamples &samples) {
		if (!take_sample(samples))
			return;
		emit(samples.cgroup_metrics_unit);
		clear_values(samples.cgroup_metrics_unit);
	});
}

void cgroup_metrics_info_upload(Setter set)
{
	if (!cgroup_metrics_enable.is_on())
		return;
	cgroup_metrics_info_iter([set](const zem_cgroup &unit) { upload(set, unit); });
}

void cgroup_samples_init()
{
	cgroup_samples.init("zem_cgroup_metrics");
}

int cgroup_samples_alloc()
{
	return cgroup_samples.with([](CgroupSamples &samples) {
		const int error = alloc_snapshots(samples);
		if (!error)
			name_entries(samples.cgroup_metrics_unit);
		return error;
	});
}

void cgroup_samples_free()
{
	cgroup_samples.with(free_snapshots);
}

} /* namespace zem */
