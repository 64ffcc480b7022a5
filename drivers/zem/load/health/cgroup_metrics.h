/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The increase of the scheduler's health sums since the previous sample, by group of tasks. Taking
 * a sample consumes the interval. Context: process; may sleep.
 */
#pragma once

#include "core/common/setter.h"
#include "kernel/function_ref.h"
#include "load/health/sched_healthinfo.h"
#include "uapi/linux/zem.h"

struct proc_file;

namespace zem {

/* Gates the uploads; on at load. */
extern const proc_file cgroup_metrics_switch;

struct CgroupSamples {
	/* Null before start-up has allocated them and after shut-down. */
	HealthSums *cgroup_metrics_data;
	HealthSums *cgroup_metrics_pre_data;
	/* The record of a sample. Its values are 0 between samples. */
	zem_cgroup cgroup_metrics_unit;
};

/* Call before any other function of this file. */
void cgroup_samples_init();

/* Samples can be taken from now on. Return: 0 or -ENOMEM. */
[[nodiscard]] int cgroup_samples_alloc();
void cgroup_samples_free();

/* Takes a sample and passes it to @emit. */
void cgroup_metrics_info_iter(FunctionRef<void(const zem_cgroup &unit)> emit);

/* Uploads one record through @set, which may be null. Takes no sample while the key is off. */
void cgroup_metrics_info_upload(Setter set);

} /* namespace zem */
