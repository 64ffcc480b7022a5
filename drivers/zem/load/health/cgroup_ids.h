/* SPDX-License-Identifier: GPL-2.0 */
/* The ids of the system's groups of tasks in the cpu controller. */
#pragma once

#include "kernel/relaxed.h"
#include "kernel/api/types.h"

namespace zem {

/* Indices of cgroup_idx, in the order of the discovery. */
enum class Group : size_t {
	kForeground,
	kBackground,
	kTopApp,
	kSystemBackground,
};

inline constexpr size_t kGroups = 4;

/* The id of the root group, which is not looked up. */
inline constexpr int kRootGroupId = 1;

/* 0: not found. The last entry is not used. */
extern Relaxed<u32> cgroup_idx[5];

[[nodiscard]] inline u32 id_of(Group group)
{
	return cgroup_idx[static_cast<size_t>(group)].load();
}

/* Call _init first, _exit last. Context: may sleep. */
void cgroup_ids_init();
void cgroup_ids_exit();

/* Searches for the groups and logs those found. Context: process. */
void get_cgroup_idx();

/*
 * Requests a search in a hard interrupt. Several requests before it cause one search. It logs the
 * groups if their ids are new. Context: any.
 */
void get_cgroup_idx_from_probe();

} /* namespace zem */
