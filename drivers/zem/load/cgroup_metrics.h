/* SPDX-License-Identifier: GPL-2.0 */
/*
 * The increase of the scheduler's health sums since the previous sample, by group of tasks. Taking
 * a sample consumes the interval. Context: process; may sleep.
 */
#pragma once

#include "core/records.h"
#include "kernel/static_key.h"
#include "uapi/linux/zem.h"

namespace zem {

/* Gates the uploads; on at load. */
extern StaticKey<true> cgroup_metrics_enable;

/* The record of a sample; its values are 0 between samples. */
extern zem_cgroup cgroup_metrics_unit;

/* Uploads work without the files. Return: 0 or -ENOMEM. */
[[nodiscard]] int cgroup_metrics_init();
void cgroup_metrics_destroy();

/* Takes a sample; @emit, which may be null, gets it, valid during the call. */
void cgroup_metrics_info_iter(void (*emit)(const zem_cgroup &unit, void *context), void *context);

/* Uploads one record through @set, which may be null. Takes no sample while the key is off. */
void cgroup_metrics_info_upload(Setter set);

/* cgroup_metrics_proc.cc. */
void proc_cgroup_metrics_init();
void proc_cgroup_metrics_destroy();

} /* namespace zem */
