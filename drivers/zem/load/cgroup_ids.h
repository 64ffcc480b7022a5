/* SPDX-License-Identifier: GPL-2.0 */
/* The ids of the system's groups of tasks in the cpu controller. */
#pragma once

#include "kernel/relaxed.h"
#include "kernel/api/types.h"

namespace zem {

/* Places in cgroup_idx, in the order of the discovery. */
enum class Group : size_t {
	kForeground,
	kBackground,
	kTopApp,
	kSystemBackground,
};

inline constexpr size_t kGroups = 4;

/* The id of the root group, which needs no discovery. */
inline constexpr int kRootGroupId = 1;

/* 0: not found. The last place is not used. */
extern Relaxed<u32> cgroup_idx[5];

[[nodiscard]] inline u32 id_of(Group group)
{
	return cgroup_idx[static_cast<size_t>(group)].load();
}

/* cgroup_ids_init() comes before any other call, cgroup_ids_exit() after all others. May sleep. */
void cgroup_ids_init();
void cgroup_ids_exit();

/* Looks for the groups and logs those that it finds. Context: process. */
void get_cgroup_idx();

/*
 * A hard interrupt looks for the groups soon after, once for all calls before it, and logs those
 * that it finds if the ids are new. Context: any.
 */
void get_cgroup_idx_from_probe();

} /* namespace zem */
