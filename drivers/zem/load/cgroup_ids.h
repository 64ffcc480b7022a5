/* SPDX-License-Identifier: GPL-2.0 */
/* Which ids the system's groups of tasks have in the cpu controller. Any context. */
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

/* That of every hierarchy's root, which needs no discovery. */
inline constexpr int kRootGroupId = 1;

/* 0: not found. The last place is not used. */
extern Relaxed<u32> cgroup_idx[5];

[[nodiscard]] inline u32 id_of(Group group)
{
	return cgroup_idx[static_cast<size_t>(group)].load();
}

/* Before anything else of this file, and after everything else. May sleep. */
void cgroup_ids_init();
void cgroup_ids_exit();

/* Looks for the groups and logs what it finds. Not under a run-queue lock. */
void get_cgroup_idx();

/* The same, where nothing can be logged: a hard interrupt does it soon after. */
void get_cgroup_idx_from_probe();

} /* namespace zem */
