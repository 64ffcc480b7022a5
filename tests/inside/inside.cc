// SPDX-License-Identifier: GPL-2.0
#include "inside/inside.h"

#include "core/records.h"
#include "core/shared_buffer.h"
#include "io/bio_accounting.h"
#include "io/devices.h"
#include "io/snapshot.h"
#include "io/uid_io.h"
#include "kernel/guarded.h"
#include "kernel/percpu.h"
#include "kernel/switch_file.h"
#include "load/health/cgroup_ids.h"
#include "load/health/cgroup_metrics.h"
#include "load/cpu_load.h"
#include "load/health/sched_healthinfo.h"
#include "load/load_samples.h"
#include "load/task_load.h"
#include "sched/sched_metrics.h"
#include "sched/sched_metrics_upload.h"

namespace zem {

extern Guarded<SharedBuffer, Mutex> shared_buffer;
extern PerCpu<SchedMetricsData> sched_metrics_data;
extern Guarded<IoSnapshot, Mutex> io_snapshot;
extern Guarded<CgroupSamples, Mutex> cgroup_samples;

} /* namespace zem */

namespace {

zem::Window window()
{
	return zem::load_samples.with([](zem::LoadSamples &samples) { return samples.window; });
}

zem_sched sched_record;

const zem_sched *sched_upload()
{
	zem::sched_metrics_info_upload([](u64, const void *data, int, u32) {
		sched_record = *static_cast<const zem_sched *>(data);
	});
	return &sched_record;
}

} /* namespace */

extern "C" constinit const test::Inside zem_inside;
constinit const test::Inside zem_inside{
	.ring_buffer = [] { return zem::buffer.load(); },
	.set_ring_buffer = [](trace_buffer *ring) { zem::buffer.store(ring); },
	.set_bytes_in_use =
		[](u32 bytes) {
			zem::shared_buffer.with([bytes](zem::SharedBuffer &buffer) {
				buffer.current_data_len = bytes;
			});
		},

	.sched_counters = [](unsigned int cpu) -> void * {
		return &zem::sched_metrics_data.of(cpu);
	},
	.sched_upload = sched_upload,
	.write_sched_switch =
		[](const char *text, size_t count) {
			return zem::switch_file::write(text, count, zem::sched_metrics_switch.data);
		},

	.window_end = [] { return window().load_wallclock; },
	.window_start = [] { return window().load_start_time; },
	.window_length = [] { return window().time_delta; },
	.close_window =
		[] {
			zem::load_samples.with([](zem::LoadSamples &samples) {
				samples.window.reset_load_start_time();
			});
		},
	.upload_cpus = zem::cpu_metrics_info_upload,
	.upload_tasks = zem::load_metrics_info_upload,
	.sample_task = [](task_struct *task,
			  u64 window) { zem::get_task_load_metrics(task, window, nullptr); },
	.cluster_units = [] { return &zem::cpu_cluster_unit[0]; },
	.cluster_of_cpu = zem::get_cluster_by_cpu,
	.percent_of_capacity = zem::percent_of_capacity,

	.add_health_sums =
		[](u64 *rows) {
			return zem::get_sched_healthinfo(reinterpret_cast<zem::HealthSums *>(rows));
		},
	.add_health_row =
		[](u64 *row, const u64 *more) {
			zem::sched_healthinfo_sum(
				*reinterpret_cast<zem::HealthTriple *>(row),
				*reinterpret_cast<const zem::HealthTriple *>(more));
		},
	.group_ids = [] { return reinterpret_cast<u32 *>(&zem::cgroup_idx[0]); },
	.upload_groups = zem::cgroup_metrics_info_upload,
	.group_record =
		[] {
			return zem::cgroup_samples.with(
				[](zem::CgroupSamples &samples) -> const zem_cgroup * {
					return &samples.cgroup_metrics_unit;
				});
		},

	.set_indicators = [](int on) { zem::kioind_on.store(on); },
	.bio_size = zem::get_bio_size,
	.bio_class = zem::get_bio_fg_bg,
	.mark_bio = zem::record_bio_task,
	.device_number = zem::get_hd_struct,
	.bio_counters = [] { return zem::bio_counters; },
	.snapshot =
		[] {
			return zem::io_snapshot.with(
				[](zem::IoSnapshot &io) { return &io.kioind; });
		},
	.uid_state = zem::get_uid_state,
};
